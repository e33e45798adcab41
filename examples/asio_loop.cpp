// The main loop is that of Boost.Asio.

#include "events/KXEventQueue.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXEndPoint.h"
#include "platform/KXTick.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <cstdio>
#include <unistd.h>

namespace {

using Descriptor = boost::asio::posix::stream_descriptor;

constexpr int escape = 0x01000000; // Qt::Key_Escape

void report(int type) {
    KX::KXToolkitEvent event;
    event.eventType = type;
    event.timeStamp = KX::KXTick::getTickCount();
    event.osKeyCode = escape;
    KX::KXInputEventManager::getInstance()->toolkitEventOccurred(event);
}

void tap() {
    report(KX::TOOLKIT_KEY_PRESS_EVENT);
    report(KX::TOOLKIT_KEY_RELEASE_EVENT);
}

void waitForEvents(Descriptor& inbox, int printed) {
    inbox.async_wait(
        Descriptor::wait_read,
        [&inbox, printed](const boost::system::error_code& error) mutable {
            auto* const manager = KX::KXInputEventManager::getInstance();
            while (!error && manager->hasEvents()) {
                const KX::KXInputEvent event = manager->getNextEvent();
                std::printf("%s key=%d\n", KX::translateEventTypeToString(event.eventType).c_str(), event.keyCode);
                ++printed;
            }
            if (!error && printed < 4)
                waitForEvents(inbox, printed);
        });
}

} // namespace

int main() {
    auto* const manager = KX::KXInputEventManager::createInstance();
    const auto& queue = dynamic_cast<KX::KXEndPoint&>(*manager->getInputEventsQueue());
    {
        boost::asio::io_context loop;
        // Asio closes its descriptor, so it gets one of its own.
        Descriptor inbox(loop, dup(queue.getReadEndPointID()));
        waitForEvents(inbox, 0);
        boost::asio::post(loop, tap);
        boost::asio::post(loop, tap);
        loop.run();
    }
    KX::KXInputEventManager::deleteInstance();
}

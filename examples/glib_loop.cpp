// The main loop is GLib's.

#include "events/KXEventQueue.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXEndPoint.h"
#include "platform/KXTick.h"

#include <cstdio>
#include <glib-unix.h>

namespace {

constexpr int escape = 0x01000000; // Qt::Key_Escape

void report(int type) {
    KX::KXToolkitEvent event;
    event.eventType = type;
    event.timeStamp = KX::KXTick::getTickCount();
    event.osKeyCode = escape;
    KX::KXInputEventManager::getInstance()->toolkitEventOccurred(event);
}

gboolean tap(gpointer /*data*/) {
    report(KX::TOOLKIT_KEY_PRESS_EVENT);
    report(KX::TOOLKIT_KEY_RELEASE_EVENT);
    return G_SOURCE_REMOVE;
}

gboolean takeEvents(gint /*descriptor*/, GIOCondition /*condition*/, gpointer loop) {
    static int printed = 0;
    auto* const manager = KX::KXInputEventManager::getInstance();
    while (manager->hasEvents()) {
        const KX::KXInputEvent event = manager->getNextEvent();
        std::printf("%s key=%d\n", KX::translateEventTypeToString(event.eventType).c_str(), event.keyCode);
        if (++printed == 4)
            g_main_loop_quit(static_cast<GMainLoop*>(loop));
    }
    return G_SOURCE_CONTINUE;
}

} // namespace

int main() {
    auto* const manager = KX::KXInputEventManager::createInstance();
    const auto& inbox = dynamic_cast<KX::KXEndPoint&>(*manager->getInputEventsQueue());

    GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    const guint source = g_unix_fd_add(inbox.getReadEndPointID(), G_IO_IN, takeEvents, loop);
    g_idle_add(tap, nullptr);
    g_idle_add(tap, nullptr);
    g_main_loop_run(loop);

    g_source_remove(source); // before the manager closes the descriptor
    g_main_loop_unref(loop);
    KX::KXInputEventManager::deleteInstance();
}

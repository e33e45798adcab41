#include "Targets.h"

#include "events/EventRecord.h"
#include "events/KXEventQueue.h"
#include "events/KXSomeEvent.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"
#include "replay/LibraryOutput.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>

#include <algorithm>
#include <memory>
#include <optional>
#include <typeinfo>
#include <utility>

namespace Fuzz {

namespace {

using KX::EventRecord;

class KeyWindow : public QWidget {
public:
    std::optional<int> takeKey() { return std::exchange(key, std::nullopt); }

protected:
    void keyPressEvent(QKeyEvent* event) override { key = event->key(); }
    void keyReleaseEvent(QKeyEvent* event) override { key = event->key(); }

private:
    std::optional<int> key;
};

// Without an active window the library keeps each key event for ever. It lives as long as the process: the fuzzer
// ends without returning.
KeyWindow& activeWindow() {
    static auto* const window = [] {
        auto* const made = new KeyWindow;
        made->show();
        QApplication::setActiveWindow(made);
        return made;
    }();
    return *window;
}

EventRecord recordOf(const std::string& bytes, std::size_t begin) {
    EventRecord record{};
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(begin), std::min(record.size(), bytes.size() - begin),
                record.begin());
    return record;
}

// The event of the record, and it again on the other side of a pipe.
std::string problemWithWay(KX::KXEventQueue& queue, KX::KXSomeEvent& event) {
    EventRecord sent;
    try {
        sent = KX::encodeEvent(event);
        queue.postEvent(event);
    } catch (const std::bad_cast&) {
        return {}; // it claims a class that it is not
    }
    if (queue.getSize() != 1)
        return "the queue has " + std::to_string(queue.getSize()) + " events";
    KX::KXSomeEvent taken = queue.getNextEvent();
    return KX::encodeEvent(taken) == sent ? "" : "the event has changed in the pipe";
}

// The manager posts the key of an event to the window that is active.
std::string problemWithKey(const KX::KXInputEvent& event) {
    const auto& keys = *KX::KXInputEventManager::getKXtoOSCodeMap();
    const auto expected = keys.find(event.keyCode);
    if (expected == keys.end())
        return {}; // a caller has to check it
    KeyWindow& window = activeWindow();
    KX::KXInputEventManager::generateKeyEvent(event);
    QCoreApplication::sendPostedEvents();
    return window.takeKey() == expected->second ? "" : "the window has not got the key";
}

void classify(KX::KXInputEvent& event) {
    KX::KXInputEventManager& manager = *KX::KXInputEventManager::getInstance();
    try {
        manager.inputEventOccurred(event);
    } catch (const std::bad_cast&) {
        return; // it claims a class that it is not
    }
    while (manager.hasEvents())
        manager.getNextEvent();
}

std::string problemWithRecord(const EventRecord& record, KX::KXEventQueue& queue) {
    KX::KXSomeEvent event;
    KX::decodeEvent(record, event);
    std::string problem = problemWithWay(queue, event);
    KX::KXInputEvent input = event;
    if (problem.empty())
        problem = problemWithKey(input);
    classify(input);
    return problem;
}

} // namespace

std::string problemWithRecords(const std::string& bytes) {
    needToolkit();
    const KX::LibraryOutput library(KX::LibraryOutput::Goes::Nowhere);
    KX::KXSimulation::reset();
    KX::KXSimulation::setDebugLevel(0);
    KX::KXInputEventManager::createInstance();
    std::string problem;
    {
        const std::unique_ptr<KX::KXEventQueue> queue(
            KX::KXEventQueue::create(KX::KXEventQueue::EVENT_QUEUE_AS_PIPE));
        for (std::size_t begin = 0; begin < bytes.size() && problem.empty();
             begin += std::tuple_size_v<EventRecord>)
            problem = problemWithRecord(recordOf(bytes, begin), *queue);
    }
    KX::KXInputEventManager::deleteInstance();
    return problem;
}

} // namespace Fuzz

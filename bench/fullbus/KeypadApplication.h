#pragma once

#include "bench/fullbus/BusTraffic.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXEndPoint.h"
#include "platform/KXTick.h"

#include <QApplication>
#include <QKeyEvent>
#include <QSocketNotifier>
#include <QWidget>

#include <memory>

namespace Bench {

struct Taken {
    std::uint32_t keyEvents = 0;
    std::uint32_t wrongKeyEvents = 0; // not the next to come
    std::uint32_t encoderSteps = 0;
    std::uint32_t encoderEvents = 0;
};

/// An application as it is on a terminal: an active window, a toolkit layer that reports its keys to the manager, and a
/// main loop that takes the classified events. It checks each of them.
class KeypadApplication : public QWidget {
public:
    /// Makes the manager and lets it read the keypad of the bus traffic.
    explicit KeypadApplication(const BusTraffic& newTraffic) : traffic(newTraffic) {
        show();
        QApplication::setActiveWindow(this);
        QCoreApplication::processEvents();
        manager = KX::KXInputEventManager::createInstance();
        manager->setKeyMapping(BusTraffic::makeKeyMapping());
        const auto& queue = dynamic_cast<const KX::KXEndPoint&>(*manager->getInputEventsQueue());
        eventsNotifier = std::make_unique<QSocketNotifier>(queue.getReadEndPointID(), QSocketNotifier::Read);
        connect(eventsNotifier.get(), &QSocketNotifier::activated, this, [this] { takeEvents(); });
        manager->setCANRemoteOptions(BusTraffic::makeLayout());
    }
    ~KeypadApplication() override {
        eventsNotifier.reset();
        KX::KXInputEventManager::deleteInstance();
    }

    Taken taken;

protected:
    bool event(QEvent* event) override {
        const bool isPress = event->type() == QEvent::KeyPress;
        if (!isPress && event->type() != QEvent::KeyRelease)
            return QWidget::event(event);
        KX::KXToolkitEvent report;
        report.eventType = isPress ? KX::TOOLKIT_KEY_PRESS_EVENT : KX::TOOLKIT_KEY_RELEASE_EVENT;
        report.timeStamp = KX::KXTick::getTickCount();
        report.osKeyCode = static_cast<QKeyEvent*>(event)->key();
        manager->toolkitEventOccurred(report);
        return true;
    }

private:
    void takeEvents() {
        while (manager->hasEvents()) {
            const KX::KXInputEvent event = manager->getNextEvent();
            if (event.eventType == KX::ENCODER_MOVE_EVENT) {
                ++taken.encoderEvents;
                taken.encoderSteps += static_cast<std::uint32_t>(event.count);
                continue;
            }
            const int expected =
                BusTraffic::isPress(taken.keyEvents) ? KX::KEY_PRESS_EVENT : KX::KEY_RELEASE_EVENT;
            if (event.eventType != expected || event.keyCode != traffic.getKeyCode(taken.keyEvents))
                ++taken.wrongKeyEvents;
            ++taken.keyEvents;
        }
    }

    const BusTraffic traffic;
    KX::KXInputEventManager* manager = nullptr;
    std::unique_ptr<QSocketNotifier> eventsNotifier;
};

} // namespace Bench

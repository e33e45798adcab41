#include "bench/fullbus/KeypadApplication.h"

#include "events/KXEvent.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXEndPoint.h"
#include "platform/KXTick.h"

#include <QApplication>
#include <QKeyEvent>

KeypadApplication::KeypadApplication(const BusTraffic& newTraffic) : traffic(newTraffic) {
    show();
    QApplication::setActiveWindow(this);
    QCoreApplication::processEvents();
    KX::KXInputEventManager* const manager = KX::KXInputEventManager::createInstance();
    manager->setKeyMapping(BusTraffic::makeKeyMapping());
    const auto& queue = dynamic_cast<const KX::KXEndPoint&>(*manager->getInputEventsQueue());
    eventsNotifier = std::make_unique<QSocketNotifier>(queue.getReadEndPointID(), QSocketNotifier::Read);
    connect(eventsNotifier.get(), &QSocketNotifier::activated, this, [this] { takeEvents(); });
    manager->setCANRemoteOptions(BusTraffic::makeLayout());
}

KeypadApplication::~KeypadApplication() {
    eventsNotifier.reset();
    KX::KXInputEventManager::deleteInstance();
}

std::uint32_t KeypadApplication::getKeyEvents() const {
    return keyEvents;
}

std::uint32_t KeypadApplication::getEncoderSteps() const {
    return encoderSteps;
}

std::uint32_t KeypadApplication::getEncoderEvents() const {
    return encoderEvents;
}

std::uint32_t KeypadApplication::getWrongEvents() const {
    return wrongEvents;
}

bool KeypadApplication::event(QEvent* event) {
    const bool isPress = event->type() == QEvent::KeyPress;
    if (!isPress && event->type() != QEvent::KeyRelease)
        return QWidget::event(event);
    KX::KXToolkitEvent report;
    report.eventType = isPress ? KX::TOOLKIT_KEY_PRESS_EVENT : KX::TOOLKIT_KEY_RELEASE_EVENT;
    report.timeStamp = KX::KXTick::getTickCount();
    report.osKeyCode = static_cast<QKeyEvent*>(event)->key();
    KX::KXInputEventManager::getInstance()->toolkitEventOccurred(report);
    return true;
}

void KeypadApplication::takeEvents() {
    KX::KXInputEventManager* const manager = KX::KXInputEventManager::getInstance();
    while (manager->hasEvents()) {
        const KX::KXInputEvent event = manager->getNextEvent();
        if (event.eventType == KX::ENCODER_MOVE_EVENT) {
            ++encoderEvents;
            encoderSteps += static_cast<std::uint32_t>(event.count);
        } else {
            checkKey(event.eventType, event.keyCode);
        }
    }
}

void KeypadApplication::checkKey(int eventType, int keyCode) {
    const int expected = BusTraffic::isPress(keyEvents) ? KX::KEY_PRESS_EVENT : KX::KEY_RELEASE_EVENT;
    if (eventType != expected || keyCode != traffic.getKeyCode(keyEvents))
        ++wrongEvents;
    ++keyEvents;
}

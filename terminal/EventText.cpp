#include "terminal/EventText.h"

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"

#include <QKeySequence>

namespace {

constexpr int unmappedKey = 65535;
constexpr int unset = -1;

QString dash() {
    return QStringLiteral("\u2013");
}

bool isMouseEvent(const KX::KXEvent& event) {
    return event.eventType >= KX::MOUSE_PRESS_EVENT && event.eventType <= KX::MOUSE_ESCAPE_EVENT;
}

QString buttonName(unsigned int button) {
    switch (button) {
    case Qt::LeftButton:
        return QStringLiteral("Left button");
    case Qt::RightButton:
        return QStringLiteral("Right button");
    case Qt::MiddleButton:
        return QStringLiteral("Middle button");
    default:
        return QStringLiteral("Button %1").arg(button);
    }
}

// The library's numbering has no names of its own; the toolkit's key that stands for a number has one.
QString keyName(int keyCode) {
    const std::map<int, int>& toolkitKeys = *KX::KXInputEventManager::getKXtoOSCodeMap();
    const auto found = toolkitKeys.find(keyCode);
    return found == toolkitKeys.end() ? QString() : QKeySequence(found->second).toString();
}

QString className(int eventClass) {
    switch (eventClass) {
    case 0:
        return QStringLiteral("event");
    case 1:
        return QStringLiteral("incident");
    case 2:
        return QStringLiteral("toolkit");
    case 3:
        return QStringLiteral("input");
    case 4:
        return QStringLiteral("navigation");
    case 5:
        return QStringLiteral("trigger");
    case 6:
        return QStringLiteral("signal");
    default:
        return QStringLiteral("holder");
    }
}

} // namespace

QString EventText::name(const KX::KXEvent& event) {
    return QString::fromStdString(KX::translateEventTypeToString(event.eventType));
}

QString EventText::eventClass(const KX::KXEvent& event) {
    return QStringLiteral("%1 %2").arg(event.eventClass).arg(className(event.eventClass));
}

QString EventText::key(const KX::KXInputEvent& event) {
    if (isMouseEvent(event))
        return buttonName(event.eventData[1]);
    if (event.keyCode == unset)
        return dash();
    if (event.keyCode == unmappedKey)
        return QStringLiteral("not mapped");
    return QStringLiteral("%1 %2").arg(event.keyCode).arg(keyName(event.keyCode)).trimmed();
}

QString EventText::toolkitKey(const KX::KXInputEvent& event) {
    if (event.osKeyCode == unset)
        return dash();
    return QStringLiteral("0x%1").arg(static_cast<unsigned int>(event.osKeyCode), 0, 16);
}

QString EventText::value(const KX::KXEvent& event) {
    return event.eventType == KX::ENCODER_MOVE_EVENT || event.value != 0 ? QString::number(event.value) : dash();
}

QString EventText::count(const KX::KXEvent& event) {
    return event.count == unset ? dash() : QString::number(event.count);
}

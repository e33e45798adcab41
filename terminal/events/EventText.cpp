#include "terminal/events/EventText.h"

#include "events/KXEventKind.h"
#include "input/KXInputEventManager.h"
#include "recording/KXEventLine.h"

#include <QKeySequence>
#include <QLocale>

#include <cerrno>
#include <cstdint>
#include <string_view>

namespace Terminal {

namespace {

constexpr int noCount = -1;
constexpr qint64 msPerSecond = 1000;
constexpr qint64 msPerMinute = 60 * msPerSecond;
constexpr QChar minusSign(0x2212);
constexpr QChar thinSpace(0x2009);

QString dash() {
    return QStringLiteral("\u2013");
}

QString buttonName(unsigned int button) {
    switch (button) {
    case Qt::LeftButton: return QStringLiteral("Left button");
    case Qt::RightButton: return QStringLiteral("Right button");
    case Qt::MiddleButton: return QStringLiteral("Middle button");
    default: return QStringLiteral("Button %1").arg(button);
    }
}

// Key codes of the library have no names; the toolkit's key for a code has one.
QString keyName(int keyCode) {
    const std::map<int, int>& toolkitKeys = *KX::KXInputEventManager::getKXtoOSCodeMap();
    const auto found = toolkitKeys.find(keyCode);
    return found == toolkitKeys.end() ? QString() : QKeySequence(found->second).toString();
}

QString className(int eventClass) {
    switch (eventClass) {
    case KX::EVENT_CLASS: return QStringLiteral("event");
    case KX::INCIDENT_CLASS: return QStringLiteral("incident");
    case KX::TOOLKIT_EVENT_CLASS: return QStringLiteral("toolkit");
    case KX::INPUT_EVENT_CLASS: return QStringLiteral("input");
    case KX::NAVIGATION_EVENT_CLASS: return QStringLiteral("navigation");
    case KX::TRIGGER_CLASS: return QStringLiteral("trigger");
    case KX::SIGNAL_CLASS: return QStringLiteral("signal");
    default: return QStringLiteral("holder");
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
    if (KX::isMouseEvent(event.eventType))
        return buttonName(event.eventData[1]);
    if (event.keyCode == KX::KX_KEY_NONE)
        return dash();
    if (event.keyCode == KX::KX_KEY_UNMAPPED)
        return QStringLiteral("not mapped");
    const QString name = keyName(event.keyCode);
    return name.isEmpty() ? QStringLiteral("Key %1").arg(event.keyCode) : name;
}

QString EventText::keyCode(const KX::KXInputEvent& event) {
    return event.keyCode == KX::KX_KEY_NONE ? dash() : QString::number(event.keyCode);
}

QString EventText::toolkitKey(const KX::KXInputEvent& event) {
    if (event.osKeyCode == KX::KX_KEY_NONE)
        return dash();
    return QStringLiteral("0x%1").arg(static_cast<unsigned int>(event.osKeyCode), 0, 16);
}

QString EventText::value(const KX::KXEvent& event) {
    return event.eventType == KX::ENCODER_MOVE_EVENT || event.value != 0 ? QString::number(event.value) : dash();
}

QString EventText::count(const KX::KXEvent& event) {
    return event.count == noCount ? dash() : QString::number(event.count);
}

QString EventText::distance(const KX::KXEvent& event, const KX::KXEvent& previous) {
    // An event that the application posted itself may have no tick.
    if ((event.timeStamp == 0) != (previous.timeStamp == 0))
        return dash();
    const auto ms = static_cast<std::int32_t>(event.timeStamp - previous.timeStamp);
    return ms < 0 ? duration(ms) : QLatin1Char('+') + duration(ms);
}

QString EventText::duration(qint64 ms) {
    if (ms < 0)
        return minusSign + duration(-ms);
    if (ms < msPerSecond)
        return QStringLiteral("%1 ms").arg(ms);
    if (ms < msPerMinute)
        return QStringLiteral("%1 s").arg(static_cast<double>(ms) / msPerSecond, 0, 'f', 2);
    return QStringLiteral("%1:%2 min")
        .arg(ms / msPerMinute)
        .arg(ms % msPerMinute / msPerSecond, 2, 10, QLatin1Char('0'));
}

QString EventText::signedNumber(qint64 number) {
    return number < 0 ? grouped(number) : QLatin1Char('+') + grouped(number);
}

QString EventText::grouped(qint64 number) {
    QLocale locale(QLocale::English);
    locale.setNumberOptions(QLocale::DefaultNumberOptions); // the system's locale may not group
    return locale.toString(number).replace(QLatin1Char(','), thinSpace).replace(QLatin1Char('-'), minusSign);
}

EventPrinter::EventPrinter(std::FILE* outputFile) : output(outputFile) {}

void EventPrinter::print(const KX::KXInputEvent& event) {
    if (hasFailed)
        return;
    const KX::KXEventLine line(event);
    const std::string_view text = line.textWithLineEnd();
    const bool written = std::fwrite(text.data(), 1, text.size(), output) == text.size();
    hasFailed = !written || std::fflush(output) != 0;
    if (hasFailed && errno != EPIPE)
        failure = errno;
}

} // namespace Terminal

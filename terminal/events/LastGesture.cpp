#include "terminal/events/LastGesture.h"

#include "terminal/events/EventText.h"

#include <cstdlib>

namespace Terminal {

namespace {

QString nameOf(KX::KXGesture gesture) {
    switch (gesture) {
    case KX::KXGesture::DoublePress: return QStringLiteral("Double press");
    case KX::KXGesture::LongPress: return QStringLiteral("Long press");
    default: return QStringLiteral("Press");
    }
}

QString describeTurn(const EncoderTurn& turn) {
    const int steps = std::abs(turn.steps());
    return QStringLiteral("Turned %1 %2, %3")
        .arg(steps)
        .arg(steps == 1 ? QStringLiteral("step") : QStringLiteral("steps"), EventText::signedNumber(turn.value()));
}

} // namespace

void LastGesture::take(const KX::KXInputEvent& event) {
    const KX::KXEventKind kind = KX::kindOfEventType(event.eventType);
    switch (kind.gesture) {
    case KX::KXGesture::Press:
    case KX::KXGesture::DoublePress:
        begin(event, kind);
        press = event;
        break;
    case KX::KXGesture::LongPress:
        if (!isOfSameKey(event))
            press = event;
        begin(event, kind);
        isLong = true;
        break;
    case KX::KXGesture::Release:
    case KX::KXGesture::Escape: end(event, kind.gesture); break;
    case KX::KXGesture::Move:
        if (kind.device != KX::KXInputDevice::Encoder)
            break;
        begin(event, kind);
        turn.add(event);
        break;
    default: break; // a long release tells nothing that the release after it does not tell
    }
}

void LastGesture::begin(const KX::KXInputEvent& event, const KX::KXEventKind& kind) {
    shown = kind;
    key = EventText::key(event);
    isLong = false;
    mark.reset();
}

bool LastGesture::isOfSameKey(const KX::KXInputEvent& event) const {
    if (shown.device != KX::kindOfEventType(event.eventType).device)
        return false;
    return shown.device == KX::KXInputDevice::Mouse ? press.eventData[1] == event.eventData[1]
                                                    : press.keyCode == event.keyCode;
}

void LastGesture::end(const KX::KXInputEvent& event, KX::KXGesture gesture) {
    if (mark || !isOfSameKey(event))
        return;
    if (gesture == KX::KXGesture::Escape) {
        mark = Ending{gesture, QStringLiteral("escaped")};
        return;
    }
    const auto heldMs = static_cast<std::int32_t>(event.timeStamp - press.timeStamp);
    mark = Ending{isLong ? KX::KXGesture::LongRelease : KX::KXGesture::Release,
                  QStringLiteral("released after %1").arg(EventText::duration(heldMs))};
}

QString LastGesture::words() const {
    switch (shown.device) {
    case KX::KXInputDevice::NoDevice: return {};
    case KX::KXInputDevice::Encoder: return describeTurn(turn);
    default: return nameOf(shown.gesture) + QStringLiteral(" \u2014 ") + key;
    }
}

KX::KXEventKind LastGesture::kind() const {
    return shown;
}

const std::optional<LastGesture::Ending>& LastGesture::ending() const {
    return mark;
}

} // namespace Terminal

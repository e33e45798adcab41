#include "terminal/window/SoftKeyBar.h"

#include "events/KXEventKind.h"
#include "terminal/window/SoftKey.h"
#include "terminal/window/Theme.h"

#include <QHBoxLayout>

namespace Terminal {

namespace {

const char* const labels[] = {"Start", "Stop", "Lift", "Lower", "Fold", "Rate", "Lights", "Menu"};

} // namespace

SoftKeyBar::SoftKeyBar(QWidget* parent) : QWidget(parent) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(Theme::spacing - 2);
    for (const char* label : labels) {
        auto* key = new SoftKey(softKeys.size() + 1, QString::fromLatin1(label), this);
        const int number = softKeys.size();
        connect(key, &QAbstractButton::pressed, this, [this, key, number] {
            pressedKey = key;
            emit keyWentDown(number);
        });
        softKeys.append(key);
        row->addWidget(key);
    }
}

const QVector<SoftKey*>& SoftKeyBar::keys() const {
    return softKeys;
}

void SoftKeyBar::showEvents(const ClassifiedEvents& events) {
    for (const KX::KXInputEvent& event : events)
        showInput(event);
}

void SoftKeyBar::showInput(const KX::KXInputEvent& event) {
    const KX::KXEventKind kind = KX::kindOfEventType(event.eventType);
    if (kind.device != KX::KXInputDevice::Mouse)
        return;
    switch (kind.gesture) {
    case KX::KXGesture::Press:
    case KX::KXGesture::DoublePress: beginTouch(); break;
    case KX::KXGesture::LongPress:
    case KX::KXGesture::Escape: break;
    default: return;
    }
    if (touchedKey)
        touchedKey->showRecognised(kind.gesture);
}

// A press of a soft key is known here before its classified event arrives. A press beside the keys is not known
// here.
void SoftKeyBar::beginTouch() {
    if (touchedKey)
        touchedKey->showRecognised(std::nullopt);
    touchedKey = pressedKey;
    pressedKey = nullptr;
}

} // namespace Terminal

#include "terminal/window/SoftKeyBar.h"

#include "terminal/look/Theme.h"

#include <QHBoxLayout>
#include <QPainter>

namespace Terminal {

namespace {

const char* const labels[] = {"Start", "Stop", "Lift", "Lower", "Fold", "Rate", "Lights", "Menu"};

QString wordFor(KX::KXGesture gesture) {
    switch (gesture) {
    case KX::KXGesture::DoublePress: return QStringLiteral("DOUBLE");
    case KX::KXGesture::LongPress: return QStringLiteral("LONG");
    case KX::KXGesture::Escape: return QStringLiteral("ESCAPED");
    default: return QStringLiteral("PRESS");
    }
}

} // namespace

SoftKey::SoftKey(int keyNumber, const QString& label, QWidget* parent)
    : QAbstractButton(parent), number(keyNumber) {
    setText(label);
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void SoftKey::showRecognised(std::optional<KX::KXGesture> gesture) {
    if (recognisedGesture == gesture)
        return;
    recognisedGesture = gesture;
    update();
}

std::optional<KX::KXGesture> SoftKey::recognised() const {
    return recognisedGesture;
}

QSize SoftKey::sizeHint() const {
    return {112, 78};
}

QSize SoftKey::minimumSizeHint() const {
    return {80, 78}; // for a finger in a glove
}

void SoftKey::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintFace(painter);
    paintTexts(painter);
}

void SoftKey::paintFace(QPainter& painter) const {
    const QColor edge = recognisedGesture ? Theme::colourOf(*recognisedGesture) : Theme::outline();
    QLinearGradient face(0, 0, 0, height());
    if (isDown()) {
        face.setColorAt(0, edge.darker(190));
        face.setColorAt(1, edge.darker(150));
    } else {
        face.setColorAt(0, Theme::panel().lighter(165));
        face.setColorAt(1, Theme::panel().lighter(115));
    }
    painter.setPen(QPen(isDown() ? Theme::text() : edge, 2));
    painter.setBrush(face);
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 7, 7);
}

void SoftKey::paintTexts(QPainter& painter) const {
    const QRect inside = rect().adjusted(9, 7, -9, -7);
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(11, true));
    painter.drawText(inside, Qt::AlignTop | Qt::AlignLeft, QStringLiteral("F%1").arg(number));

    painter.setPen(Theme::text());
    painter.setFont(Theme::font(16, true));
    painter.drawText(rect().adjusted(4, 0, -4, 0), Qt::AlignCenter, text());

    if (!recognisedGesture)
        return;
    painter.setPen(isDown() ? Theme::text() : Theme::colourOf(*recognisedGesture));
    painter.setFont(Theme::font(11, true));
    painter.drawText(inside, Qt::AlignBottom | Qt::AlignHCenter, wordFor(*recognisedGesture));
}

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

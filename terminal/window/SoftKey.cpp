#include "terminal/window/SoftKey.h"

#include "terminal/window/Theme.h"

#include <QPainter>

namespace Terminal {

namespace {

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

} // namespace Terminal

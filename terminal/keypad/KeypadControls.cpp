#include "terminal/keypad/KeypadControls.h"

#include "terminal/look/Theme.h"
#include "toolkit/KXToolkitLayer.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace Terminal {

namespace {

constexpr double degreesPerDetent = 360.0 / KeypadKnob::detentsPerTurn;
constexpr int clickDistance = 8; // a finger never rests completely

double toDegrees(double radians) {
    return radians * 180 / std::acos(-1.0);
}

double toRadians(double degrees) {
    return degrees * std::acos(-1.0) / 180;
}

} // namespace

KeypadKey::KeypadKey(int keyNumber, const QString& label, QWidget* parent)
    : QAbstractButton(parent), number(keyNumber) {
    setText(label);
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

QSize KeypadKey::sizeHint() const {
    return {62, 58};
}

QSize KeypadKey::minimumSizeHint() const {
    return {56, 50};
}

void KeypadKey::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient face(0, 0, 0, height());
    face.setColorAt(0, isDown() ? Theme::accent().darker(220) : Theme::panel().lighter(190));
    face.setColorAt(1, isDown() ? Theme::accent().darker(160) : Theme::panel().lighter(130));
    painter.setPen(QPen(isDown() ? Theme::accent() : Theme::outline(), 2));
    painter.setBrush(face);
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 10, 10);

    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(10, true));
    painter.drawText(rect().adjusted(8, 5, -8, -5), Qt::AlignTop | Qt::AlignLeft, QString::number(number));
    painter.setPen(Theme::text());
    painter.setFont(Theme::font(text().size() > 5 ? 12 : 14, true));
    painter.drawText(rect().adjusted(2, 8, -2, 0), Qt::AlignCenter, text());
}

KeypadKnob::KeypadKnob(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    KX::KXToolkitLayer::leaveWheelTo(*this);
}

QSize KeypadKnob::sizeHint() const {
    return {136, 128};
}

QSize KeypadKnob::minimumSizeHint() const {
    return {124, 110};
}

void KeypadKnob::showPosition(int detents) {
    position = detents % detentsPerTurn;
    update();
}

void KeypadKnob::turnBy(int detents) {
    for (int step = 0; step < std::abs(detents); ++step)
        emit turned(detents > 0);
    position = (position + detents) % detentsPerTurn;
    update();
}

double KeypadKnob::angleAt(const QPoint& point) const {
    const QPointF fromMiddle = QPointF(point) - QRectF(rect()).center();
    return toDegrees(std::atan2(fromMiddle.y(), fromMiddle.x())); // positive is downwards, and so clockwise
}

void KeypadKnob::mousePressEvent(QMouseEvent* event) {
    pressPosition = event->pos();
    lastAngle = angleAt(event->pos());
    draggedAngle = 0;
    isDragged = false;
}

void KeypadKnob::mouseMoveEvent(QMouseEvent* event) {
    if (!isDragged && (event->pos() - pressPosition).manhattanLength() < clickDistance)
        return;
    isDragged = true;
    const double angle = angleAt(event->pos());
    draggedAngle += std::remainder(angle - lastAngle, 360.0); // the shorter way
    lastAngle = angle;
    const int detents = static_cast<int>(draggedAngle / degreesPerDetent);
    draggedAngle -= detents * degreesPerDetent;
    turnBy(detents);
}

void KeypadKnob::mouseReleaseEvent(QMouseEvent* event) {
    if (!isDragged && rect().contains(event->pos()))
        turnBy(event->pos().x() >= width() / 2 ? 1 : -1);
    isDragged = false;
}

void KeypadKnob::wheelEvent(QWheelEvent* event) {
    turnBy(wheelDetents.turn(event->angleDelta().y()));
    event->accept();
}

void KeypadKnob::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double size = std::min(width(), height()) - 4;
    QRectF circle(0, 0, size, size);
    circle.moveCenter(QRectF(rect()).center());
    paintFace(painter, circle);
    paintHints(painter, circle);
}

void KeypadKnob::paintFace(QPainter& painter, const QRectF& circle) const {
    QLinearGradient face(circle.topLeft(), circle.bottomLeft());
    face.setColorAt(0, Theme::panel().lighter(190));
    face.setColorAt(1, Theme::panel().lighter(120));
    painter.setPen(QPen(Theme::outline(), 2));
    painter.setBrush(face);
    painter.drawEllipse(circle);

    painter.setPen(QPen(Theme::outline().lighter(130), 2));
    const double radius = circle.width() / 2;
    for (int detent = 0; detent < detentsPerTurn; ++detent) {
        const double angle = toRadians((detent + position) * degreesPerDetent - 90);
        const QPointF direction(std::cos(angle), std::sin(angle));
        painter.drawLine(circle.center() + direction * (radius - 4), circle.center() + direction * (radius - 9));
    }
    const double angle = toRadians(position * degreesPerDetent - 90);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::accent());
    painter.drawEllipse(circle.center() + QPointF(std::cos(angle), std::sin(angle)) * (radius - 20), 6, 6);
}

void KeypadKnob::paintHints(QPainter& painter, const QRectF& circle) const {
    const double reach = circle.width() / 2;
    const QRectF hints = circle.adjusted(reach * 0.42, reach * 0.55, -reach * 0.42, -reach * 0.55);
    painter.setPen(Theme::text());
    painter.setFont(Theme::font(24, true));
    painter.drawText(hints, Qt::AlignVCenter | Qt::AlignLeft, QStringLiteral("\u2212"));
    painter.drawText(hints, Qt::AlignVCenter | Qt::AlignRight, QStringLiteral("+"));
}

} // namespace Terminal

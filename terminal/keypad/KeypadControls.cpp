#include "terminal/keypad/KeypadControls.h"

#include "terminal/look/ScreenButton.h"
#include "terminal/look/Sizes.h"
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
    const Sizes sizes = Sizes::of(*this);
    return {sizes.scaled(64), sizes.scaled(66)};
}

QSize KeypadKey::minimumSizeHint() const {
    const Sizes sizes = Sizes::of(*this);
    return {sizes.touch(), sizes.scaled(50)};
}

int KeypadKey::widthForLargeName() const {
    const Sizes sizes = Sizes::of(*this);
    return QFontMetrics(Theme::font(sizes.value(), true)).horizontalAdvance(text()) + sizes.scaled(4);
}

// The number stands above the name.
void KeypadKey::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const Sizes sizes = Sizes::of(*this);
    paintFace(painter, *this, sizes.scaled(9));
    painter.setPen(labelColour(*this));
    painter.setFont(Theme::font(sizes.text()));
    const int line = painter.fontMetrics().height();
    painter.drawText(rect().adjusted(sizes.scaled(7), sizes.scaled(3), 0, 0), Qt::AlignTop | Qt::AlignLeft,
                     QString::number(number));
    painter.setPen(Theme::text());
    painter.setFont(Theme::fittedFont(text(), width() - sizes.scaled(4), sizes.value(), sizes.text()));
    painter.drawText(rect().adjusted(0, sizes.scaled(3) + line, 0, -sizes.scaled(4)), Qt::AlignCenter, text());
}

KeypadKnob::KeypadKnob(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    KX::KXToolkitLayer::leaveWheelTo(*this);
}

QSize KeypadKnob::sizeHint() const {
    const int side = Sizes::of(*this).scaled(136);
    return {side, side};
}

QSize KeypadKnob::minimumSizeHint() const {
    const int side = Sizes::of(*this).scaled(110);
    return {side, side};
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
    painter.setPen(QPen(Theme::edge(), 2));
    painter.setBrush(Theme::face());
    painter.drawEllipse(circle);

    painter.setPen(QPen(Theme::edge(), 2));
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
    painter.setFont(Theme::font(Sizes::of(*this).gesture(), true));
    painter.drawText(hints, Qt::AlignVCenter | Qt::AlignLeft, QStringLiteral("\u2212"));
    painter.drawText(hints, Qt::AlignVCenter | Qt::AlignRight, QStringLiteral("+"));
}

} // namespace Terminal

#pragma once

#include "events/KXEventKind.h"

#include <QPointF>

class QColor;
class QPainter;

/// The signs of the gestures: the same in the list, in the time line and beside the last gesture. Each has a shape
/// of its own, so nobody needs colours to tell them apart.
///
/// | gesture      | shape          |
/// |--------------|----------------|
/// | press        | full disc      |
/// | double press | two full discs |
/// | release      | ring           |
/// | long press   | full diamond   |
/// | long release | hollow diamond |
/// | escape       | cross          |
/// | encoder move | rising bars    |
namespace Terminal::GestureMark {

/// Draws the sign of \p kind, \p size pixels high. A dark edge sets it off from what is behind it.
void draw(QPainter& painter, const KX::KXEventKind& kind, const QPointF& centre, double size);

/// The sign of a gesture that a key or a button can make.
void draw(QPainter& painter, KX::KXGesture gesture, const QPointF& centre, double size);

/// The same sign in another colour, where its own would not be seen.
void draw(QPainter& painter, KX::KXGesture gesture, const QPointF& centre, double size, const QColor& colour);

/// The same as \ref draw to the next whole pixel, for plots with many signs: each shape is drawn once and then copied.
void stamp(QPainter& painter, KX::KXGesture gesture, const QPointF& centre, double size, const QColor& colour);

/// How wide the sign is: a double press is wider than high.
double widthOf(KX::KXGesture gesture, double size);

} // namespace Terminal::GestureMark

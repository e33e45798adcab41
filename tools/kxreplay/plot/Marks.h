#pragma once

#include "events/KXEventKind.h"

#include <QPointF>
#include <QString>

class QPainter;

namespace Replay::Marks {

/// Draws the mark of a gesture, as kxterminal does: a disc for a press, two for a double press, a diamond for a long
/// press, a ring for a release, a cross for an escape.
void draw(QPainter& painter, QPointF center, KX::KXGesture gesture, double scale = 1);

/// Half the width and height of a mark.
constexpr double radius = 5.5;

/// Draws the marks with their names, from \p place on to the right.
void drawLegend(QPainter& painter, QPointF place, bool hasEncoder);

} // namespace Replay::Marks

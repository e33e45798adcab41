#pragma once

#include <QColor>
#include <QPointF>

class QPainter;

namespace Terminal {

/// The marks of the time line: what was recognised while a key was down. Each has a shape of its own, so that it
/// can be told without its colour, too.
enum class TimeLineMark {
    DoublePress, ///< a disc with a 2
    LongPress,   ///< a full diamond
    LongRelease, ///< a hollow diamond
    Escape,      ///< a cross
};

namespace TimeLineMarks {

constexpr int size = 14; ///< in pixels, across

void draw(QPainter& painter, TimeLineMark mark, const QPointF& centre);

} // namespace TimeLineMarks

} // namespace Terminal

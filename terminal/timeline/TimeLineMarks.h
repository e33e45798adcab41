#pragma once

#include <QColor>
#include <QPointF>

class QPainter;

namespace Terminal {

/// The marks of the time line show what was recognised while a key was down. They differ in shape, so colour is
/// not needed to tell them apart.
enum class TimeLineMark {
    DoublePress, ///< a disc with a 2
    LongPress,   ///< a full diamond
    LongRelease, ///< a hollow diamond
    Escape,      ///< a cross
};

namespace TimeLineMarks {

constexpr int size = 14; ///< width and height in pixels

void draw(QPainter& painter, TimeLineMark mark, const QPointF& centre);

} // namespace TimeLineMarks

} // namespace Terminal

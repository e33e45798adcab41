#pragma once

#include <QPointF>
#include <QWidget>

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

/// Explains the marks of the time line, in two rows.
class TimeLineLegend : public QWidget {
    Q_OBJECT

public:
    explicit TimeLineLegend(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace Terminal

#include "terminal/TimeLineLegend.h"

#include "terminal/Theme.h"
#include "terminal/TimeLineMarks.h"

#include <QPainter>

namespace {

constexpr int columns = 4;
constexpr int lines = 2;
constexpr int textLeft = 26;

void drawBar(QPainter& painter, const QPointF& centre, EventKind kind) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::colourOf(kind));
    painter.drawRoundedRect(QRectF(centre - QPointF(8, 5), QSizeF(16, 10)), 3, 3);
}

void drawEncoder(QPainter& painter, const QPointF& centre) {
    const QColor colour = Theme::colourOf(EventKind::Encoder);
    const qreal heights[] = {3, 5, 8, 11};
    for (int bar = 0; bar < 4; ++bar)
        painter.fillRect(QRectF(centre.x() - 8 + bar * 4.5, centre.y() + 5 - heights[bar], 2, heights[bar]),
                         colour);
}

void drawWindow(QPainter& painter, const QPointF& centre) {
    painter.fillRect(QRectF(centre - QPointF(9, 1), QSizeF(18, 3)),
                     Theme::colourOf(EventKind::DoublePress).darker(170));
}

void drawSign(QPainter& painter, int entry, const QPointF& centre) {
    switch (entry) {
    case 0:
        return drawBar(painter, centre, EventKind::Press);
    case 1:
        return TimeLineMarks::draw(painter, TimeLineMark::DoublePress, centre);
    case 2:
        return TimeLineMarks::draw(painter, TimeLineMark::LongPress, centre);
    case 3:
        return TimeLineMarks::draw(painter, TimeLineMark::LongRelease, centre);
    case 4:
        return drawEncoder(painter, centre);
    case 5:
        return drawWindow(painter, centre);
    case 6:
        return drawBar(painter, centre, EventKind::LongPress);
    default:
        return TimeLineMarks::draw(painter, TimeLineMark::Escape, centre);
    }
}

const char* const texts[columns * lines] = {"Down",    "Double press",      "Long press",    "Long release",
                                            "Encoder", "Double-press time", "Held for long", "Escaped"};
constexpr int widths[columns] = {76, 134, 106, 102};

} // namespace

TimeLineLegend::TimeLineLegend(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

QSize TimeLineLegend::sizeHint() const {
    return {widths[0] + widths[1] + widths[2] + widths[3], 42};
}

QSize TimeLineLegend::minimumSizeHint() const {
    return {widths[0] + widths[1], sizeHint().height()};
}

void TimeLineLegend::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int lineHeight = height() / lines;
    for (int line = 0; line < lines; ++line) {
        int left = 0;
        for (int column = 0; column < columns; ++column) {
            const int entry = line * columns + column;
            const QRect place(left, line * lineHeight, widths[column], lineHeight);
            drawSign(painter, entry, QPointF(left + 12, place.center().y() + 0.5));
            painter.setPen(Theme::quietText());
            painter.setFont(Theme::font(11));
            painter.drawText(place.adjusted(textLeft, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                             QString::fromLatin1(texts[entry]));
            left += widths[column];
        }
    }
}

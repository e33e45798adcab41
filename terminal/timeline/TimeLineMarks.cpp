#include "terminal/timeline/TimeLineMarks.h"

#include "terminal/look/Theme.h"

#include <QPainter>

namespace Terminal {

namespace {

constexpr qreal reach = TimeLineMarks::size / 2.0;

void drawDiamond(QPainter& painter, const QPointF& centre, const QColor& inside, const QColor& edge) {
    const QPointF corners[] = {centre + QPointF(0, -reach), centre + QPointF(reach, 0), centre + QPointF(0, reach),
                               centre + QPointF(-reach, 0)};
    painter.setPen(QPen(edge, 2));
    painter.setBrush(inside);
    painter.drawPolygon(corners, 4);
}

void drawDisc(QPainter& painter, const QPointF& centre) {
    painter.setPen(QPen(Theme::screen(), 1.5));
    painter.setBrush(Theme::colourOf(KX::KXGesture::DoublePress).lighter(125));
    painter.drawEllipse(centre, reach, reach);
    painter.setPen(Theme::screen());
    painter.setFont(Theme::font(10, true));
    painter.drawText(QRectF(centre - QPointF(reach, reach), QSizeF(2 * reach, 2 * reach)), Qt::AlignCenter,
                     QStringLiteral("2"));
}

void drawCross(QPainter& painter, const QPointF& centre) {
    const QPointF falling(reach - 2, reach - 2);
    const QPointF rising(reach - 2, 2 - reach);
    for (const QPen& pen : {QPen(Theme::screen(), 5, Qt::SolidLine, Qt::RoundCap),
                            QPen(Theme::colourOf(KX::KXGesture::Escape), 3, Qt::SolidLine, Qt::RoundCap)}) {
        painter.setPen(pen);
        painter.drawLine(centre - falling, centre + falling);
        painter.drawLine(centre - rising, centre + rising);
    }
}

} // namespace

void TimeLineMarks::draw(QPainter& painter, TimeLineMark mark, const QPointF& centre) {
    const QColor longPress = Theme::colourOf(KX::KXGesture::LongPress);
    switch (mark) {
    case TimeLineMark::DoublePress: return drawDisc(painter, centre);
    case TimeLineMark::LongPress: return drawDiamond(painter, centre, longPress.lighter(130), Theme::screen());
    case TimeLineMark::LongRelease: return drawDiamond(painter, centre, Theme::screen(), longPress);
    case TimeLineMark::Escape: return drawCross(painter, centre);
    }
}

namespace {

constexpr int markColumns = 4;
constexpr int lines = 2;
constexpr int textLeft = 26;

template<KX::KXGesture gesture>
void drawBar(QPainter& painter, const QPointF& centre) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::colourOf(gesture));
    painter.drawRoundedRect(QRectF(centre - QPointF(8, 5), QSizeF(16, 10)), 3, 3);
}

template<TimeLineMark mark>
void drawMark(QPainter& painter, const QPointF& centre) {
    TimeLineMarks::draw(painter, mark, centre);
}

void drawEncoder(QPainter& painter, const QPointF& centre) {
    const QColor colour = Theme::encoder();
    const qreal heights[] = {3, 5, 8, 11};
    for (int bar = 0; bar < 4; ++bar)
        painter.fillRect(QRectF(centre.x() - 8 + bar * 4.5, centre.y() + 5 - heights[bar], 2, heights[bar]),
                         colour);
}

void drawWindow(QPainter& painter, const QPointF& centre) {
    painter.fillRect(QRectF(centre - QPointF(9, 1), QSizeF(18, 3)),
                     Theme::colourOf(KX::KXGesture::DoublePress).darker(170));
}

struct Entry {
    const char* text;
    void (*drawSign)(QPainter& painter, const QPointF& centre);
};

const Entry entries[lines][markColumns] = {
    {
        {"Down", drawBar<KX::KXGesture::Press>},
        {"Double press", drawMark<TimeLineMark::DoublePress>},
        {"Long press", drawMark<TimeLineMark::LongPress>},
        {"Long release", drawMark<TimeLineMark::LongRelease>},
    },
    {
        {"Encoder", drawEncoder},
        {"Double-press time", drawWindow},
        {"Held for long", drawBar<KX::KXGesture::LongPress>},
        {"Escaped", drawMark<TimeLineMark::Escape>},
    },
};
constexpr int widths[markColumns] = {76, 134, 106, 102};

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
        for (int column = 0; column < markColumns; ++column) {
            const Entry& entry = entries[line][column];
            const QRect place(left, line * lineHeight, widths[column], lineHeight);
            entry.drawSign(painter, QPointF(left + 12, place.center().y() + 0.5));
            painter.setPen(Theme::quietText());
            painter.setFont(Theme::font(11));
            painter.drawText(place.adjusted(textLeft, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                             QString::fromLatin1(entry.text));
            left += widths[column];
        }
    }
}

} // namespace Terminal

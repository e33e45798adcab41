#include "terminal/timeline/TimeLineMarks.h"

#include "terminal/window/Theme.h"

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

} // namespace Terminal

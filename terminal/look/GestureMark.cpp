#include "terminal/look/GestureMark.h"

#include "terminal/look/Theme.h"

#include <QPainter>
#include <QPixmapCache>
#include <QPolygonF>

namespace Terminal {

namespace {

constexpr double discShare = 0.8; // a disc of full height looks larger than a diamond
constexpr double doublePressWidth = 1.5;

QPen edgePen(double size) {
    return {Theme::screen(), size / 8};
}

void drawDisc(QPainter& painter, const QPointF& centre, double size, const QColor& colour) {
    painter.setPen(edgePen(size));
    painter.setBrush(colour);
    painter.drawEllipse(centre, size * discShare / 2, size * discShare / 2);
}

void drawTwoDiscs(QPainter& painter, const QPointF& centre, double size, const QColor& colour) {
    const QPointF aside(size * (doublePressWidth - discShare) / 2, 0);
    drawDisc(painter, centre - aside, size, colour);
    drawDisc(painter, centre + aside, size, colour);
}

// A wide dark line below a narrower one of the colour makes the edge.
template<typename Shape>
void drawOutline(QPainter& painter, double size, const QColor& colour, Shape drawShape) {
    painter.setBrush(Theme::screen());
    painter.setPen(QPen(Theme::screen(), size / 3, Qt::SolidLine, Qt::RoundCap, Qt::MiterJoin));
    drawShape();
    painter.setPen(QPen(colour, size / 5.5, Qt::SolidLine, Qt::RoundCap, Qt::MiterJoin));
    drawShape();
}

void drawRing(QPainter& painter, const QPointF& centre, double size, const QColor& colour) {
    const double radius = size * (discShare - 0.15) / 2;
    drawOutline(painter, size, colour, [&] { painter.drawEllipse(centre, radius, radius); });
}

QPolygonF diamond(const QPointF& centre, double reach) {
    return QPolygonF({centre + QPointF(0, -reach), centre + QPointF(reach, 0), centre + QPointF(0, reach),
                      centre + QPointF(-reach, 0)});
}

void drawFullDiamond(QPainter& painter, const QPointF& centre, double size, const QColor& colour) {
    painter.setPen(edgePen(size));
    painter.setBrush(colour);
    painter.drawPolygon(diamond(centre, size / 2));
}

void drawHollowDiamond(QPainter& painter, const QPointF& centre, double size, const QColor& colour) {
    drawOutline(
        painter, size, colour, [&] { painter.drawPolygon(diamond(centre, size * 0.38)); });
}

void drawCross(QPainter& painter, const QPointF& centre, double size, const QColor& colour) {
    const double reach = size * 0.34;
    drawOutline(painter, size, colour, [&] {
        painter.drawLine(centre + QPointF(-reach, -reach), centre + QPointF(reach, reach));
        painter.drawLine(centre + QPointF(-reach, reach), centre + QPointF(reach, -reach));
    });
}

void drawBars(QPainter& painter, const QPointF& centre, double size, const QColor& colour) {
    constexpr int bars = 4;
    const double pitch = size / bars;
    for (int bar = 0; bar < bars; ++bar) {
        const double height = size * (bar + 1) / bars;
        painter.fillRect(
            QRectF(centre.x() - size / 2 + bar * pitch, centre.y() + size / 2 - height, pitch * 0.6, height),
            colour);
    }
}

} // namespace

void GestureMark::draw(QPainter& painter, const KX::KXEventKind& kind, const QPointF& centre, double size) {
    if (kind.device == KX::KXInputDevice::Encoder)
        drawBars(painter, centre, size, Theme::encoder());
    else
        draw(painter, kind.gesture, centre, size);
}

void GestureMark::draw(QPainter& painter, KX::KXGesture gesture, const QPointF& centre, double size) {
    draw(painter, gesture, centre, size, Theme::colourOf(gesture));
}

void GestureMark::draw(QPainter& painter, KX::KXGesture gesture, const QPointF& centre, double size,
                       const QColor& colour) {
    switch (gesture) {
    case KX::KXGesture::Press: return drawDisc(painter, centre, size, colour);
    case KX::KXGesture::DoublePress: return drawTwoDiscs(painter, centre, size, colour);
    case KX::KXGesture::Release: return drawRing(painter, centre, size, colour);
    case KX::KXGesture::LongPress: return drawFullDiamond(painter, centre, size, colour);
    case KX::KXGesture::LongRelease: return drawHollowDiamond(painter, centre, size, colour);
    case KX::KXGesture::Escape: return drawCross(painter, centre, size, colour);
    default: return;
    }
}

void GestureMark::stamp(QPainter& painter, KX::KXGesture gesture, const QPointF& centre, double size,
                        const QColor& colour) {
    const QString key =
        QStringLiteral("gesture %1 %2 %3").arg(static_cast<int>(gesture)).arg(size).arg(colour.rgba());
    const int side = static_cast<int>(size * doublePressWidth) + 4;
    QPixmap picture;
    if (!QPixmapCache::find(key, &picture)) {
        picture = QPixmap(side, side);
        picture.fill(Qt::transparent);
        QPainter painterOfPicture(&picture);
        painterOfPicture.setRenderHint(QPainter::Antialiasing);
        draw(painterOfPicture, gesture, QPointF(side / 2.0, side / 2.0), size, colour);
        painterOfPicture.end();
        QPixmapCache::insert(key, picture);
    }
    painter.drawPixmap(QPointF(centre.x() - side / 2.0, centre.y() - side / 2.0).toPoint(), picture);
}

double GestureMark::widthOf(KX::KXGesture gesture, double size) {
    return gesture == KX::KXGesture::DoublePress ? size * doublePressWidth : size;
}

} // namespace Terminal

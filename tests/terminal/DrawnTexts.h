#pragma once

#include <QColor>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainter>
#include <QRectF>
#include <QString>
#include <QVector>
#include <QWidget>

#include <cmath>
#include <memory>

namespace Terminal {

/// A text as a widget draws it.
struct DrawnText {
    QString text;
    double pixelSize;
    QColor colour;
    QRectF ink;     ///< where there is ink, in coordinates of the window
    QRectF visible; ///< the part of the window in which ink is drawn
};

/// A device that notes the texts that are drawn on it.
class TextNotes : public QPaintDevice {
public:
    explicit TextNotes(const QSize& deviceSize) : size(deviceSize), engine(texts) {}

    QPaintEngine* paintEngine() const override { return &engine; }

    QVector<DrawnText> texts;

protected:
    int metric(PaintDeviceMetric metric) const override {
        constexpr int dotsPerInch = 96;
        switch (metric) {
        case PdmWidth: return size.width();
        case PdmHeight: return size.height();
        case PdmWidthMM: return size.width() / 4;
        case PdmHeightMM: return size.height() / 4;
        case PdmNumColors: return 1 << 24;
        case PdmDepth: return 32;
        case PdmDevicePixelRatio: return 1;
        case PdmDevicePixelRatioScaled: return static_cast<int>(QPaintDevice::devicePixelRatioFScale());
        default: return dotsPerInch;
        }
    }

private:
    class Engine : public QPaintEngine {
    public:
        explicit Engine(QVector<DrawnText>& notes) : QPaintEngine(AllFeatures), texts(notes) {}

        bool begin(QPaintDevice* /*device*/) override { return true; }
        bool end() override { return true; }
        void updateState(const QPaintEngineState& /*state*/) override {}
        void drawPixmap(const QRectF& /*area*/, const QPixmap& /*pixmap*/, const QRectF& /*source*/) override {}
        void drawPath(const QPainterPath& /*path*/) override {}
        void drawPolygon(const QPointF* /*points*/, int /*count*/, PolygonDrawMode /*mode*/) override {}
        Type type() const override { return User; }

        void drawTextItem(const QPointF& position, const QTextItem& item) override {
            if (item.text().trimmed().isEmpty())
                return;
            const QTransform toDevice = painter()->deviceTransform();
            QRectF ink = QFontMetricsF(item.font()).tightBoundingRect(item.text()).translated(position);
            ink.setLeft(position.x());
            ink.setWidth(item.width());
            QRectF visible = systemClip().boundingRect();
            if (painter()->hasClipping())
                visible &= toDevice.mapRect(painter()->clipBoundingRect());
            if (!visible.intersects(toDevice.mapRect(ink)))
                return;
            texts.append({item.text(), item.font().pixelSize() * std::sqrt(std::abs(toDevice.determinant())),
                          painter()->pen().color(), toDevice.mapRect(ink), visible});
        }

    private:
        QVector<DrawnText>& texts;
    };

    QSize size;
    mutable Engine engine;
};

/// The texts that \p window and its children draw.
inline QVector<DrawnText> textsOf(QWidget& window) {
    TextNotes notes(window.size());
    window.render(&notes);
    return notes.texts;
}

} // namespace Terminal

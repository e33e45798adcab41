#pragma once

#include "terminal/WheelDetents.h"

#include <QWidget>

namespace Terminal {

/// The knob of the keypad. It is turned by dragging round its middle, by a click on its right half (up) or left
/// half (down), or by the wheel.
class KeypadKnob : public QWidget {
    Q_OBJECT

public:
    static constexpr int detentsPerTurn = 24;

    explicit KeypadKnob(QWidget* parent = nullptr);

    /// Draws it as it stands after so many detents; nothing is told of a turn.
    void showPosition(int detents);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    /// Once a detent.
    void turned(bool up);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void turnBy(int detents);
    double angleAt(const QPoint& position) const;
    void paintFace(QPainter& painter, const QRectF& circle) const;
    void paintHints(QPainter& painter, const QRectF& circle) const;

    WheelDetents wheelDetents;
    double lastAngle = 0;    // of the pointer, in degrees
    double draggedAngle = 0; // not yet turned into detents
    bool isDragged = false;  // the press has turned out to be more than a click
    QPoint pressPosition;
    int position = 0; // of the picture, in detents
};

} // namespace Terminal

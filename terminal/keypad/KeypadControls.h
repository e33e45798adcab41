#pragma once

#include "toolkit/KXWheelDetents.h"

#include <QAbstractButton>
#include <QPoint>

namespace Terminal {

/// A key of the keypad. It takes no keyboard focus.
class KeypadKey : public QAbstractButton {
    Q_OBJECT

public:
    KeypadKey(int number, const QString& label, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    /// How wide it has to be to show its name in the size of what counts.
    int widthForLargeName() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int number;
};

/// The knob of the keypad. Dragging around its centre, a click on its right (up) or left half (down), and the
/// wheel turn it.
class KeypadKnob : public QWidget {
    Q_OBJECT

public:
    static constexpr int detentsPerTurn = 24;

    explicit KeypadKnob(QWidget* parent = nullptr);

    /// Shows the knob at this position, in detents. Emits nothing.
    void showPosition(int detents);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    /// Emitted once per detent.
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

    KX::KXWheelDetents wheelDetents;
    double lastAngle = 0;    // of the pointer, in degrees
    double draggedAngle = 0; // not turned into detents yet
    bool isDragged = false;  // the press is more than a click
    QPoint pressPosition;
    int position = 0; // shown, in detents
};

} // namespace Terminal

#pragma once

#include "events/KXEvent.h"

#include <QWidget>

/// The screen of the terminal: says what the last classified event was, large.
class OperatorScreen : public QWidget {
    Q_OBJECT

public:
    explicit OperatorScreen(QWidget* parent = nullptr);

    void showInput(const KX::KXInputEvent& event);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintName(QPainter& painter, const QRect& area) const;
    void paintTiles(QPainter& painter, QRect area) const;

    bool hasEvent = false;
    KX::KXInputEvent lastEvent;
};

#pragma once

#include "events/KXEvent.h"

#include <QWidget>

#include <optional>

namespace Terminal {

/// The screen of the terminal. It shows the last classified event in large letters.
///
/// The numbers of the encoder stay when another event arrives, but lose their colour.
class OperatorScreen : public QWidget {
    Q_OBJECT

public:
    explicit OperatorScreen(QWidget* parent = nullptr);

    void showInput(const KX::KXInputEvent& event);

    /// Uses less height, for a small screen.
    void setCompact(bool compact);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintName(QPainter& painter, const QRect& area) const;
    void paintTiles(QPainter& painter, QRect area) const;

    bool isCompact = false;
    std::optional<KX::KXInputEvent> lastEvent;
    std::optional<KX::KXInputEvent> lastEncoderMove;
};

} // namespace Terminal

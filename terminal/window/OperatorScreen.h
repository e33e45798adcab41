#pragma once

#include "events/KXEvent.h"

#include <QAbstractButton>

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

/// Covers the screen while input is off, and says so in large letters. A touch on it, or the key that it names,
/// switches input on.
class InputOffBanner : public QAbstractButton {
    Q_OBJECT

public:
    explicit InputOffBanner(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace Terminal

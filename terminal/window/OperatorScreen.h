#pragma once

#include "events/KXEvent.h"
#include "terminal/events/LastGesture.h"

#include <QAbstractButton>

#include <optional>

namespace Terminal {

/// The screen of the terminal. It shows the operator's last gesture in large letters, and how it ended as a small mark.
///
/// The numbers of the encoder appear once it was used. They stay when another gesture follows, but lose their colour.
class OperatorScreen : public QWidget {
    Q_OBJECT

public:
    explicit OperatorScreen(QWidget* parent = nullptr);

    void showInput(const KX::KXInputEvent& event);

    const LastGesture& gesture() const;

    /// Whether the numbers of the encoder are shown.
    bool showsEncoder() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintGesture(QPainter& painter, const QRect& area) const;
    void paintEnding(QPainter& painter, const QRect& area) const;
    void paintTiles(QPainter& painter, QRect area) const;
    int tileWidth() const;

    LastGesture lastGesture;
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

#pragma once

#include <QWidget>

#include <cstdint>

class QLabel;

namespace Terminal {

class ReplayTransport;
class ScreenButton;

/// The length of a replay as a strip. A finger on it chooses a place, and lets go to seek there.
class SeekStrip : public QWidget {
    Q_OBJECT

public:
    explicit SeekStrip(QWidget* parent = nullptr);

    void setPosition(std::uint64_t positionMs, std::uint64_t lengthMs);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void chosen(std::uint64_t positionMs);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    QRect track() const;
    void preview(int x);

    std::uint64_t position = 0;
    std::uint64_t length = 0;
    std::uint64_t previewed = 0;
    bool isPreviewing = false;
};

/// The transport of a replay for fingers: seek, step and pause, where the replay is, and whether it has ended. Each
/// button names the key that does the same.
class TransportBar : public QWidget {
    Q_OBJECT

public:
    /// \param transport  must outlive the bar, or the last event that the bar gets
    TransportBar(ReplayTransport& transport, double speed, QWidget* parent = nullptr);

    /// "Playing ×4", "Paused" or "End of the recording".
    QString stateText() const;

    /// "0:12.5 of 1:03.0".
    QString timeText() const;

    SeekStrip& strip() const { return *seekStrip; }
    ScreenButton& backButton() const { return *back; }
    ScreenButton& stepBackButton() const { return *stepBack; }
    ScreenButton& pauseButton() const { return *pause; }
    ScreenButton& stepButton() const { return *step; }
    ScreenButton& forwardButton() const { return *forward; }

private:
    void showState(const ReplayTransport& transport);

    const double speed;
    ScreenButton* back;
    ScreenButton* stepBack;
    ScreenButton* pause;
    ScreenButton* step;
    ScreenButton* forward;
    SeekStrip* seekStrip;
    QLabel* texts;
    QString state;
    QString time;
};

} // namespace Terminal

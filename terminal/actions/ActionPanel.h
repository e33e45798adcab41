#pragma once

#include <QTimer>
#include <QWidget>

namespace Terminal {

class ActionDesk;
class ScreenButton;

/// Shows what the action queue has done. A button starts a chain of actions that is a loop.
class ActionPanel : public QWidget {
    Q_OBJECT

public:
    /// The numbers on the panel, from left to right.
    enum Tile { Posted, Executed, NotReady, Loops, TileCount };

    explicit ActionPanel(QWidget* parent = nullptr);

    /// Shows the numbers of \p desk from now on, at a readable pace. \p desk must live as long as events are
    /// delivered.
    void watch(const ActionDesk& desk);

    /// Shows the numbers of \p desk as they are now.
    void showState(const ActionDesk& desk);

    ScreenButton& loopButton() const;

    QString numberText(Tile tile) const;
    QString droppedText() const;
    QString stateText() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void loopRequested();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintTile(QPainter& painter, const QRect& area, Tile tile) const;
    void paintLines(QPainter& painter, const QRect& firstLine) const;
    void paintBudget(QPainter& painter, const QRect& area) const;

    quint64 numbers[TileCount] = {};
    int usedMicroseconds = 0;
    int budgetMicroseconds = 1;
    QString state;
    QString dropped;
    ScreenButton* button;
    QTimer pace;
};

} // namespace Terminal

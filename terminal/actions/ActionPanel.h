#pragma once

#include "terminal/actions/ActionLedger.h"

#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <deque>

namespace Terminal {

class ActionDesk;
class ScreenButton;

/// Shows what the action queue has done: counts, and the recent actions with what became of them. A button starts
/// a chain of actions that is a loop.
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
    QString stateText() const;
    QString budgetText() const;

    /// The recent actions and what became of them, newest first.
    QStringList recentTexts() const;

    /// Whether a number has grown so lately that it is still shown in its colour.
    bool isNews(Tile tile) const;

    static constexpr int newsMs = 5000;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void loopRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void arrange();
    void setNumber(Tile tile, quint64 number);
    QColor colourOf(Tile tile) const;
    int titleHeight() const;
    int tileHeight() const;
    int lineHeight() const;
    void paintTile(QPainter& painter, const QRect& area, Tile tile) const;
    void paintLines(QPainter& painter, const QRect& area) const;
    void paintOutcome(QPainter& painter, const QRect& line, const ActionLedger::Outcome& outcome) const;
    void paintBudget(QPainter& painter, const QRect& area) const;

    quint64 numbers[TileCount] = {};
    int usedMicroseconds = 0;
    int budgetMicroseconds = 1;
    QString state;
    std::deque<ActionLedger::Outcome> recent;
    QTimer news[TileCount];
    ScreenButton* button;
    QTimer pace;
};

} // namespace Terminal

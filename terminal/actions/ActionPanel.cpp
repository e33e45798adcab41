#include "terminal/actions/ActionPanel.h"

#include "terminal/actions/ActionDesk.h"
#include "terminal/look/DisplayPace.h"
#include "terminal/look/PlotLook.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/look/Sizes.h"
#include "terminal/look/Theme.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>

namespace Terminal {

namespace {

constexpr int inset = 10; // these lengths are scaled
constexpr int leastWidth = 344;
constexpr int leastHeight = 184;
constexpr int roomyHeight = 230;

const char* const titles[ActionPanel::TileCount] = {"Posted", "Executed", "Not ready", "Loops"};

QString describe(const ActionLedger::Outcome& outcome) {
    const QString times = outcome.times > 1 ? QStringLiteral(" \u00d7%1").arg(outcome.times) : QString();
    return outcome.action + QStringLiteral(": ") + outcome.words + times;
}

} // namespace

ActionPanel::ActionPanel(QWidget* parent)
    : QWidget(parent), button(new ScreenButton(QStringLiteral("Start a loop\tF9"))) {
    auto* column = new QVBoxLayout(this);
    column->addStretch(1);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(button);
    column->addLayout(row);
    for (QTimer& timer : news) {
        timer.setSingleShot(true);
        timer.setInterval(newsMs);
        timer.callOnTimeout(this, [this] { update(); });
    }
    arrange();
    connect(button, &QAbstractButton::clicked, this, &ActionPanel::loopRequested);
}

QSize ActionPanel::sizeHint() const {
    const Sizes sizes = Sizes::of(*this);
    return {sizes.scaled(leastWidth), sizes.scaled(leastHeight)};
}

QSize ActionPanel::minimumSizeHint() const {
    return sizeHint();
}

void ActionPanel::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        arrange();
}

void ActionPanel::arrange() {
    const int margin = Sizes::of(*this).scaled(inset);
    layout()->setContentsMargins(margin, margin, margin, margin - 2);
}

void ActionPanel::watch(const ActionDesk& desk) {
    showState(desk);
    pace.setSingleShot(true);
    pace.setInterval(RefreshPace::shortestIntervalMs);
    connect(
        &pace, &QTimer::timeout, this, [this, &desk] { showState(desk); });
    connect(&desk, &ActionDesk::changed, this, [this] {
        if (!pace.isActive())
            pace.start();
    });
}

void ActionPanel::showState(const ActionDesk& desk) {
    const ActionLedger::Counts& counts = desk.ledger().counts();
    setNumber(Posted, counts.posted);
    setNumber(Executed, counts.executed);
    setNumber(NotReady, counts.notReady);
    setNumber(Loops, counts.loops);
    usedMicroseconds = desk.usedMicroseconds();
    budgetMicroseconds = static_cast<int>(ActionDesk::budgetMs * 1000);
    state = desk.implementState();
    recent = desk.ledger().recent();
    update();
}

void ActionPanel::setNumber(Tile tile, quint64 number) {
    if (number > numbers[tile])
        news[tile].start();
    numbers[tile] = number;
}

bool ActionPanel::isNews(Tile tile) const {
    return news[tile].isActive();
}

// Red means that something happens now, not that it happened once.
QColor ActionPanel::colourOf(Tile tile) const {
    if (numbers[tile] == 0)
        return Theme::quietText();
    if (tile == NotReady && isNews(tile))
        return Theme::warning();
    if (tile == Loops && isNews(tile))
        return Theme::alarm();
    return Theme::text();
}

ScreenButton& ActionPanel::loopButton() const {
    return *button;
}

QString ActionPanel::numberText(Tile tile) const {
    return QString::number(numbers[tile]);
}

QString ActionPanel::stateText() const {
    return QStringLiteral("Implement: ") + state;
}

QString ActionPanel::budgetText() const {
    return QStringLiteral("last drain %1 \u00b5s of %2 ms").arg(usedMicroseconds).arg(budgetMicroseconds / 1000);
}

QStringList ActionPanel::recentTexts() const {
    QStringList texts;
    for (const ActionLedger::Outcome& outcome : recent)
        texts << describe(outcome);
    return texts;
}

int ActionPanel::titleHeight() const {
    const Sizes sizes = Sizes::of(*this);
    return height() >= sizes.scaled(roomyHeight) ? sizes.scaled(26) : 0;
}

int ActionPanel::tileHeight() const {
    return Sizes::of(*this).scaled(50);
}

int ActionPanel::lineHeight() const {
    return Sizes::of(*this).scaled(22);
}

void ActionPanel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    PlotLook::drawPanel(painter, rect());
    const Sizes sizes = Sizes::of(*this);
    const int margin = sizes.scaled(inset);
    QRect inside(margin, sizes.scaled(6), width() - 2 * margin, titleHeight());
    painter.setFont(Theme::font(sizes.text(), true));
    painter.setPen(Theme::quietText());
    if (titleHeight() > 0)
        painter.drawText(inside, Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Action queue"));

    const int tileWidth = inside.width() / TileCount;
    QRect tile(margin, inside.top() + titleHeight(), tileWidth, tileHeight());
    for (int i = 0; i < TileCount; ++i, tile.translate(tileWidth, 0))
        paintTile(painter, tile, static_cast<Tile>(i));
    const int top = tile.bottom() + sizes.scaled(3);
    paintLines(painter, QRect(margin, top, inside.width(), button->y() - top));
    paintBudget(painter, QRect(margin, button->y(), button->x() - margin - sizes.spacing(), button->height()));
}

// The state of the implement, and as many of the recent actions as fit.
void ActionPanel::paintLines(QPainter& painter, const QRect& area) const {
    painter.setFont(Theme::font(Sizes::of(*this).text()));
    QRect line(area.left(), area.top(), area.width(), lineHeight());
    painter.setPen(Theme::text());
    painter.drawText(line, Qt::AlignLeft | Qt::AlignVCenter, state.isEmpty() ? QString() : stateText());
    for (const ActionLedger::Outcome& outcome : recent) {
        line.translate(0, lineHeight());
        if (line.bottom() > area.bottom())
            return;
        paintOutcome(painter, line, outcome);
    }
}

void ActionPanel::paintOutcome(QPainter& painter, const QRect& line, const ActionLedger::Outcome& outcome) const {
    const bool isLoop = outcome.fate == ActionLedger::Fate::Loop && isNews(Loops);
    const bool isRefusal = outcome.fate == ActionLedger::Fate::NotReady && isNews(NotReady);
    painter.setPen(isLoop ? Theme::alarm() : isRefusal ? Theme::warning() : Theme::quietText());
    painter.drawText(line, Qt::AlignLeft | Qt::AlignVCenter, describe(outcome));
}

void ActionPanel::paintTile(QPainter& painter, const QRect& area, Tile tile) const {
    const Sizes sizes = Sizes::of(*this);
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(sizes.text()));
    painter.drawText(area, Qt::AlignTop | Qt::AlignLeft, QString::fromLatin1(titles[tile]));
    painter.setPen(colourOf(tile));
    painter.setFont(Theme::font(sizes.value(), true));
    painter.drawText(area, Qt::AlignBottom | Qt::AlignLeft, numberText(tile));
}

void ActionPanel::paintBudget(QPainter& painter, const QRect& area) const {
    const Sizes sizes = Sizes::of(*this);
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(sizes.text()));
    const int line = painter.fontMetrics().height();
    painter.drawText(QRect(area.left(), area.top() + sizes.scaled(4), area.width(), line),
                     Qt::AlignLeft | Qt::AlignVCenter, budgetText());
    const double thickness = sizes.scaled(8);
    QRectF bar(area.left(), area.top() + sizes.scaled(10) + line, area.width(), thickness);
    painter.setPen(QPen(Theme::edge(), 1));
    painter.setBrush(Theme::screen());
    painter.drawRoundedRect(bar, thickness / 2, thickness / 2);
    const double part = std::min(1.0, static_cast<double>(usedMicroseconds) / budgetMicroseconds);
    // A bar of zero width would look as if nothing had run.
    bar.setWidth(std::max(part * bar.width(), usedMicroseconds > 0 ? thickness : 0.0));
    painter.setPen(Qt::NoPen);
    painter.setBrush(part < 1 ? Theme::encoder() : Theme::alarm());
    painter.drawRoundedRect(bar, thickness / 2, thickness / 2);
}

} // namespace Terminal

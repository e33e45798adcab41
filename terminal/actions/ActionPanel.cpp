#include "terminal/actions/ActionPanel.h"

#include "terminal/actions/ActionDesk.h"
#include "terminal/look/DisplayPace.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/look/Theme.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>

namespace Terminal {

namespace {

constexpr int inset = 12;
constexpr int titleTop = 7;
constexpr int titleHeight = 16;
constexpr int gap = 5;
constexpr int roomyHeight = 200;

// A page has more room than the panel beside the keypad.
struct Sizes {
    int tileHeight;
    int number;
    int lineHeight;
    int line;
};
constexpr Sizes roomySizes = {54, 30, 26, 18};
constexpr Sizes narrowSizes = {42, 22, 20, 13};

const Sizes& sizesFor(const QWidget& panel) {
    return panel.height() >= roomyHeight ? roomySizes : narrowSizes;
}

const char* const titles[ActionPanel::TileCount] = {"POSTED", "EXECUTED", "NOT READY", "LOOPS"};

QColor colourOfTile(ActionPanel::Tile tile, quint64 number) {
    if (number == 0)
        return Theme::quietText();
    switch (tile) {
    case ActionPanel::NotReady: return Theme::colourOf(KX::KXGesture::LongPress);
    case ActionPanel::Loops: return Theme::colourOf(KX::KXGesture::Escape);
    default: return Theme::text();
    }
}

void drawElided(QPainter& painter, const QRect& area, const QString& text) {
    painter.drawText(area, Qt::AlignLeft | Qt::AlignVCenter,
                     painter.fontMetrics().elidedText(text, Qt::ElideRight, area.width()));
}

} // namespace

ActionPanel::ActionPanel(QWidget* parent)
    : QWidget(parent), button(new ScreenButton(QStringLiteral("Start a loop\tF9"))) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(inset, inset, inset, inset - 2);
    column->addStretch(1);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(button);
    column->addLayout(row);
    connect(button, &QAbstractButton::clicked, this, &ActionPanel::loopRequested);
}

QSize ActionPanel::sizeHint() const {
    return {336, 176};
}

QSize ActionPanel::minimumSizeHint() const {
    return sizeHint();
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
    numbers[Posted] = counts.posted;
    numbers[Executed] = counts.executed;
    numbers[NotReady] = counts.notReady;
    numbers[Loops] = counts.loops;
    usedMicroseconds = desk.usedMicroseconds();
    budgetMicroseconds = static_cast<int>(ActionDesk::budgetMs * 1000);
    state = desk.implementState();
    dropped = desk.ledger().lastDropped();
    update();
}

ScreenButton& ActionPanel::loopButton() const {
    return *button;
}

QString ActionPanel::numberText(Tile tile) const {
    return QString::number(numbers[tile]);
}

QString ActionPanel::droppedText() const {
    return dropped;
}

QString ActionPanel::stateText() const {
    return QStringLiteral("Implement: ") + state;
}

void ActionPanel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::outline(), 1));
    painter.setBrush(Theme::panel());
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
    const QRect inside(inset, titleTop, width() - 2 * inset, titleHeight);
    painter.setFont(Theme::font(11, true));
    painter.setPen(Theme::quietText());
    painter.drawText(inside, Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("ACTION QUEUE"));

    const Sizes& sizes = sizesFor(*this);
    const int tileWidth = inside.width() / TileCount;
    QRect tile(inset, inside.bottom() + gap, tileWidth, sizes.tileHeight);
    for (int i = 0; i < TileCount; ++i, tile.translate(tileWidth, 0))
        paintTile(painter, tile, static_cast<Tile>(i));
    paintLines(painter, QRect(inset, tile.bottom() + gap, inside.width(), sizes.lineHeight));
    paintBudget(painter, QRect(inset, button->y(), button->x() - inset - Theme::spacing, button->height()));
}

// What was dropped last, and below it the state of the implement.
void ActionPanel::paintLines(QPainter& painter, const QRect& firstLine) const {
    const Sizes& sizes = sizesFor(*this);
    painter.setFont(Theme::font(sizes.line));
    painter.setPen(Theme::colourOf(dropped.startsWith(QLatin1String("Loop")) ? KX::KXGesture::Escape
                                                                             : KX::KXGesture::LongPress));
    drawElided(painter, firstLine, dropped);
    painter.setPen(Theme::text());
    drawElided(painter, firstLine.translated(0, sizes.lineHeight), state.isEmpty() ? QString() : stateText());
}

void ActionPanel::paintTile(QPainter& painter, const QRect& area, Tile tile) const {
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(11, true));
    painter.drawText(area, Qt::AlignTop | Qt::AlignLeft, QString::fromLatin1(titles[tile]));
    painter.setPen(colourOfTile(tile, numbers[tile]));
    painter.setFont(Theme::font(sizesFor(*this).number, true));
    painter.drawText(area, Qt::AlignBottom | Qt::AlignLeft, numberText(tile));
}

void ActionPanel::paintBudget(QPainter& painter, const QRect& area) const {
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(12));
    const QString text =
        QStringLiteral("%1 \u00b5s of %2 ms").arg(usedMicroseconds).arg(budgetMicroseconds / 1000);
    painter.drawText(area.adjusted(0, 0, 0, -area.height() / 2), Qt::AlignLeft | Qt::AlignBottom, text);
    QRectF bar(area.left(), area.center().y() + 5, area.width(), 8);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::screen());
    painter.drawRoundedRect(bar, 4, 4);
    const double part = std::min(1.0, static_cast<double>(usedMicroseconds) / budgetMicroseconds);
    // A bar of zero width would look as if nothing had run.
    bar.setWidth(std::max(part * bar.width(), usedMicroseconds > 0 ? 8.0 : 0.0));
    painter.setBrush(part < 1 ? Theme::encoder() : Theme::colourOf(KX::KXGesture::Escape));
    painter.drawRoundedRect(bar, 4, 4);
}

} // namespace Terminal

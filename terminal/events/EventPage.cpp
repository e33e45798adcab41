#include "terminal/events/EventPage.h"

#include "terminal/events/EventModel.h"
#include "terminal/look/KeyCodes.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/look/Theme.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QScrollBar>
#include <QVBoxLayout>

namespace Terminal {

namespace {

constexpr int linePitch = 26;
constexpr int buttonWidth = 56;
constexpr int greatestButtonHeight = 76;
constexpr int buttonGap = 6;

// As wide as the widest text that is likely in the column, so that the columns do not move while events arrive.
const char* widestText(int column) {
    switch (column) {
    case EventModel::Time: return "4294967295";
    case EventModel::Class: return "3 input";
    case EventModel::Key: return "Right button";
    case EventModel::ToolkitKey: return "0x1000000";
    case EventModel::Value: return "123456";
    default: return "Count";
    }
}

// The buttons have the same size and share the height of the page, up to a handy limit.
QVBoxLayout* makeButtonColumn(const QVector<ScreenButton*>& buttons) {
    auto* column = new QVBoxLayout;
    column->setSpacing(buttonGap);
    for (ScreenButton* button : buttons) {
        button->setKeyBelow(true);
        button->setTextSize(16);
        button->setFixedWidth(buttonWidth);
        button->setMaximumHeight(greatestButtonHeight);
        button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
        column->addWidget(button, 10);
    }
    column->addStretch(1);
    return column;
}

} // namespace

EventListView::EventListView(EventModel& events, QWidget* parent) : QTableView(parent) {
    setModel(&events);
    setFont(Theme::tableFont());
    setFocusPolicy(Qt::NoFocus);
    setSelectionMode(QAbstractItemView::NoSelection);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setIconSize(QSize(6, 14));
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(linePitch);
    arrangeColumns();
    connect(&events, &QAbstractItemModel::rowsInserted, this, &EventListView::keepPlace);
}

void EventListView::arrangeColumns() {
    constexpr int padding = 16;
    QHeaderView* header = horizontalHeader();
    header->setHighlightSections(false);
    header->setSectionsClickable(false);
    header->setSectionResizeMode(QHeaderView::Fixed);
    header->setSectionResizeMode(EventModel::Name, QHeaderView::Stretch);
    for (int column = 0; column < EventModel::ColumnCount; ++column) {
        if (column != EventModel::Name)
            setColumnWidth(column,
                           fontMetrics().horizontalAdvance(QString::fromLatin1(widestText(column))) + padding);
    }
}

void EventListView::keepPlace(const QModelIndex& /*parent*/, int first, int last) {
    QScrollBar* bar = verticalScrollBar();
    if (bar->value() == 0)
        return;
    const int inserted = last - first + 1;
    // The view extends its scroll bar only with the next painting.
    bar->setMaximum(bar->maximum() + inserted);
    bar->setValue(bar->value() + inserted);
}

EventPage::EventPage(EventModel& model, QWidget* parent)
    : QWidget(parent), events(new EventListView(model)), newest(new ScreenButton(QStringLiteral("Top\tHome"))),
      newer(new ScreenButton(QStringLiteral("\u25b2\tPgUp"))),
      older(new ScreenButton(QStringLiteral("\u25bc\tPgDn"))) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(Theme::spacing - 6);
    row->addWidget(events, 1);
    row->addLayout(makeButtonColumn({newest, newer, older}));
    for (ScreenButton* button : {newer, older})
        button->setAutoRepeat(true);
    connect(newest, &QAbstractButton::clicked, this, &EventPage::showNewest);
    connect(
        newer, &QAbstractButton::clicked, this, [this] { scrollByPages(-1); });
    connect(older, &QAbstractButton::clicked, this, [this] { scrollByPages(1); });
}

// Up and Down do not scroll: they turn the encoder, and its newest event is at the top.
void EventPage::takeInput(const KX::KXInputEvent& event) {
    if (!KeyCodes::isPress(event))
        return;
    if (event.keyCode == KX::KX_KEY_HOME)
        showNewest();
    else if (event.osKeyCode == Qt::Key_PageUp)
        scrollByPages(-1);
    else if (event.osKeyCode == Qt::Key_PageDown)
        scrollByPages(1);
}

void EventPage::showNewest() {
    events->verticalScrollBar()->setValue(0);
}

void EventPage::scrollByPages(int pages) {
    QScrollBar* bar = events->verticalScrollBar();
    bar->setValue(bar->value() + pages * bar->pageStep());
}

EventListView& EventPage::list() const {
    return *events;
}

ScreenButton& EventPage::newestButton() const {
    return *newest;
}

ScreenButton& EventPage::newerButton() const {
    return *newer;
}

ScreenButton& EventPage::olderButton() const {
    return *older;
}

} // namespace Terminal

#include "terminal/events/EventPage.h"

#include "events/KXEventKind.h"
#include "terminal/events/EventModel.h"
#include "terminal/look/GestureMark.h"
#include "terminal/look/KeyCodes.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/look/Sizes.h"
#include "terminal/look/Theme.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include <algorithm>

namespace Terminal {

namespace {

constexpr int linePitch = 30; // these lengths are scaled
constexpr int markRoom = 30;
constexpr int markSize = 13;
constexpr int cellPadding = 16;
constexpr int titlePadding = 20; // not scaled: that of the style
constexpr int greatestButtonHeight = 90;
constexpr int buttonGap = 6;

const int shortColumns[] = {EventModel::Name, EventModel::Distance, EventModel::Key, EventModel::Value,
                            EventModel::Count};
const int detailColumns[] = {EventModel::Name, EventModel::Time, EventModel::KeyCode, EventModel::ToolkitKey,
                             EventModel::Class};

// As wide as the widest text that is likely in the column, so that the columns do not move while events arrive.
const char* widestText(int column) {
    switch (column) {
    case EventModel::Distance: return "+59:59 min";
    case EventModel::Time: return "4294967295";
    case EventModel::Class: return "3 input";
    case EventModel::Key: return "Middle button";
    case EventModel::KeyCode: return "65535";
    case EventModel::ToolkitKey: return "Toolkit key";
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
        button->setMaximumHeight(greatestButtonHeight);
        button->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
        column->addWidget(button, 10);
    }
    column->addStretch(1);
    return column;
}

// Draws the sign of the gesture before the name of the event.
class NameWithMark : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        const Sizes sizes = Sizes::of(*option.widget);
        QStyleOptionViewItem words = option;
        words.rect.setLeft(option.rect.left() + sizes.scaled(markRoom));
        QStyledItemDelegate::paint(painter, words, index);
        const auto& events = static_cast<const EventModel&>(*index.model());
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const QPointF centre(option.rect.left() + sizes.scaled(markRoom) / 2.0, option.rect.center().y() + 0.5);
        GestureMark::draw(*painter, KX::kindOfEventType(events.eventAt(index.row()).eventType), centre,
                          sizes.scaled(markSize));
        painter->restore();
    }
};

} // namespace

EventListView::EventListView(EventModel& events, QWidget* parent) : QTableView(parent) {
    setModel(&events);
    setItemDelegateForColumn(EventModel::Name, new NameWithMark(this));
    setFocusPolicy(Qt::NoFocus);
    setSelectionMode(QAbstractItemView::NoSelection);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setTextElideMode(Qt::ElideNone);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    verticalHeader()->hide();
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    QHeaderView* header = horizontalHeader();
    header->setHighlightSections(false);
    header->setSectionsClickable(false);
    header->setMinimumSectionSize(1);
    header->setSectionResizeMode(QHeaderView::Fixed);
    header->setSectionResizeMode(EventModel::Name, QHeaderView::Stretch);
    setUnit(Sizes::unitOfDesign);
    connect(&events, &QAbstractItemModel::rowsInserted, this, &EventListView::keepPlace);
}

void EventListView::setUnit(int unit) {
    const Sizes sizes(unit);
    setStyleSheet(Theme::listStyle() + QStringLiteral("QHeaderView::section { font-size: %1px; }").arg(unit));
    setFont(Theme::tableFont(unit));
    const QFontMetrics titles(Theme::font(unit));
    leastLinePitch = sizes.scaled(linePitch);
    fitLines();
    const int padding = sizes.scaled(cellPadding);
    for (int column = 0; column < EventModel::ColumnCount; ++column) {
        if (column == EventModel::Name)
            continue;
        const QString title = model()->headerData(column, Qt::Horizontal).toString();
        const int ofTitle = titles.horizontalAdvance(title);
        const int ofText = fontMetrics().horizontalAdvance(QString::fromLatin1(widestText(column)));
        setColumnWidth(column, std::max(ofTitle + titlePadding, ofText + padding));
    }
    showDetails(detailsShown);
}

// The lines share the height, so that the last one is whole.
void EventListView::fitLines() {
    const int lines = std::max(1, viewport()->height() / leastLinePitch);
    verticalHeader()->setDefaultSectionSize(std::max(leastLinePitch, viewport()->height() / lines));
}

void EventListView::resizeEvent(QResizeEvent* event) {
    QTableView::resizeEvent(event);
    fitLines();
}

void EventListView::showDetails(bool details) {
    detailsShown = details;
    const int* const shown = details ? detailColumns : shortColumns;
    for (int column = 0; column < EventModel::ColumnCount; ++column)
        setColumnHidden(column, std::find(shown, shown + std::size(shortColumns), column) ==
                                    shown + std::size(shortColumns));
}

bool EventListView::showsDetails() const {
    return detailsShown;
}

void EventListView::paintEvent(QPaintEvent* event) {
    QTableView::paintEvent(event);
    if (model()->rowCount() > 0)
        return;
    QPainter painter(viewport());
    painter.setPen(Theme::text());
    painter.setFont(Theme::font(Sizes(fontInfo().pixelSize()).heading(), true));
    painter.drawText(viewport()->rect(), Qt::AlignCenter,
                     QStringLiteral("No events yet.\nPress a key, turn the wheel\nor touch a soft key."));
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
    : QWidget(parent), events(new EventListView(model)), details(new ScreenButton(QStringLiteral("More\tTab"))),
      newest(new ScreenButton(QStringLiteral("Top\tHome"))),
      newer(new ScreenButton(QStringLiteral("\u25b2\tPgUp"))),
      older(new ScreenButton(QStringLiteral("\u25bc\tPgDn"))) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(Sizes(Sizes::unitOfDesign).spacing() / 2);
    row->addWidget(events, 1);
    row->addLayout(makeButtonColumn({newest, newer, older, details}));
    for (ScreenButton* button : {newer, older})
        button->setAutoRepeat(true);
    details->setCheckable(true);
    connect(newest, &QAbstractButton::clicked, this, &EventPage::showNewest);
    connect(
        newer, &QAbstractButton::clicked, this, [this] { scrollByPages(-1); });
    connect(older, &QAbstractButton::clicked, this, [this] { scrollByPages(1); });
    connect(details, &QAbstractButton::toggled, events, &EventListView::showDetails);
}

void EventPage::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        events->setUnit(fontInfo().pixelSize());
}

// Up and Down do not scroll: they turn the encoder, and its newest event is at the top.
void EventPage::takeInput(const KX::KXInputEvent& event) {
    if (!KeyCodes::isPress(event))
        return;
    if (event.keyCode == KX::KX_KEY_HOME)
        showNewest();
    else if (event.keyCode == KX::KX_KEY_TAB)
        details->toggle();
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

ScreenButton& EventPage::detailsButton() const {
    return *details;
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

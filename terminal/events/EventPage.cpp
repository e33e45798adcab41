#include "terminal/events/EventPage.h"

#include "terminal/events/EventListView.h"
#include "terminal/window/KeyCodes.h"
#include "terminal/window/ScreenButton.h"
#include "terminal/window/Theme.h"

#include <QHBoxLayout>
#include <QScrollBar>
#include <QVBoxLayout>

namespace Terminal {

namespace {

constexpr int columnWidth = 56;
constexpr int greatestHeight = 76;
constexpr int gap = 6;

// The buttons have the same size and share the height of the page, up to a handy limit.
QVBoxLayout* makeButtonColumn(const QVector<ScreenButton*>& buttons) {
    auto* column = new QVBoxLayout;
    column->setSpacing(gap);
    for (ScreenButton* button : buttons) {
        button->setKeyBelow(true);
        button->setTextSize(16);
        button->setFixedWidth(columnWidth);
        button->setMaximumHeight(greatestHeight);
        button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
        column->addWidget(button, 10);
    }
    column->addStretch(1);
    return column;
}

} // namespace

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

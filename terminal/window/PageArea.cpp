#include "terminal/window/PageArea.h"

#include "events/KXEventType.h"
#include "terminal/actions/ActionPanel.h"
#include "terminal/encoder/EncoderView.h"
#include "terminal/events/EventModel.h"
#include "terminal/events/EventPage.h"
#include "terminal/keypad/KeypadPanel.h"
#include "terminal/look/KeyCodes.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/look/Theme.h"
#include "terminal/settings/InputSettings.h"
#include "terminal/settings/SettingsPanel.h"
#include "terminal/timeline/TimeLineView.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace Terminal {

namespace {

const char* const pageLabels[pageCount] = {"Events", "Time line", "Encoder", "Keypad", "Actions", "Settings"};

// Two short lines, because there is little room beside the buttons.
QLabel* makeKeyName(const QString& text) {
    auto* label = new QLabel(text);
    label->setAlignment(Qt::AlignCenter);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, Theme::quietText());
    label->setPalette(palette);
    return label;
}

} // namespace

PageBar::PageBar(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    row->addWidget(makeKeyName(QStringLiteral("F10\n\u25c2")));
    for (int page = 0; page < pageCount; ++page) {
        auto* button = buttons[page] = new ScreenButton(QString::fromLatin1(pageLabels[page]));
        button->setCheckable(true);
        row->addWidget(button);
        connect(button, &QAbstractButton::clicked, this, [this, page] { emit chosen(static_cast<Page>(page)); });
    }
    row->addWidget(makeKeyName(QStringLiteral("F11\n\u25b8")));
}

void PageBar::setPages(const QVector<Page>& pages) {
    currentPages = pages;
    for (int page = 0; page < pageCount; ++page)
        buttons[page]->setVisible(pages.contains(static_cast<Page>(page)));
}

QVector<Page> PageBar::pages() const {
    return currentPages;
}

void PageBar::setShownPage(Page page) {
    for (int other = 0; other < pageCount; ++other)
        buttons[other]->setChecked(static_cast<Page>(other) == page);
}

ScreenButton& PageBar::button(Page page) const {
    return *buttons[static_cast<int>(page)];
}

PageArea::PageArea(EventModel& model, InputSettings& settings, QWidget* parent)
    : QWidget(parent), pageBar(new PageBar), keypadPanel(new KeypadPanel), actionPanel(new ActionPanel),
      eventPage(new EventPage(model)), timeLineView(new TimeLineView), encoderView(new EncoderView),
      settingsPanel(new SettingsPanel(settings)),
      widgets({eventPage, timeLineView, encoderView, keypadPanel, actionPanel, settingsPanel}),
      column(new QVBoxLayout(this)), devices(new QHBoxLayout) {
    column->setContentsMargins(0, 0, 0, 0);
    devices->addWidget(keypadPanel, 1);
    devices->addWidget(actionPanel);
    column->addLayout(devices);
    column->addWidget(pageBar, 0, Qt::AlignLeft);
    for (QWidget* page : std::initializer_list<QWidget*>{eventPage, timeLineView, encoderView, settingsPanel})
        column->addWidget(page, 1);
    feedViews(model, settings);
    connect(pageBar, &PageBar::chosen, this, &PageArea::showPage);
    arrange();
}

void PageArea::setSpacing(int spacing) {
    column->setSpacing(spacing);
    devices->setSpacing(spacing);
}

bool PageArea::needsRoom() const {
    if (!isPaged)
        return false;
    const Page shown = shownPage();
    return shown == Page::TimeLine || shown == Page::Encoder || shown == Page::Settings;
}

void PageArea::feedViews(EventModel& model, InputSettings& settings) {
    connect(&model, &EventModel::appended, timeLineView, &TimeLineView::append);
    connect(&model, &EventModel::appended, encoderView, &EncoderView::append);
    const auto showDoublePress = [this, &settings] {
        timeLineView->setDoublePressWindow(
            static_cast<unsigned int>(settings.value(KX::KXInputSetting::DoubleKeyPressDuration)));
    };
    connect(&settings, &InputSettings::changed, timeLineView, showDoublePress);
    showDoublePress();
}

void PageArea::setPaged(bool paged) {
    if (isPaged == paged)
        return;
    isPaged = paged;
    if (!paged)
        column->insertWidget(1, pageBar, 0, Qt::AlignLeft);
    arrange();
}

bool PageArea::isDevice(Page page) const {
    return page == Page::Keypad || page == Page::Actions;
}

QVector<Page> PageArea::pagesNow() const {
    QVector<Page> pages;
    for (int page = 0; page < pageCount; ++page)
        if (isPaged || !isDevice(static_cast<Page>(page)))
            pages.append(static_cast<Page>(page));
    return pages;
}

void PageArea::showPage(Page page) {
    if (page == Page::Settings && shownPage() != Page::Settings)
        pageBeforeSettings = wantedPage;
    wantedPage = page;
    arrange();
}

Page PageArea::shownPage() const {
    return !isPaged && isDevice(wantedPage) ? Page::Events : wantedPage;
}

void PageArea::turnPage(int steps) {
    const QVector<Page> pages = pageBar->pages();
    const int next = (pages.indexOf(shownPage()) + steps) % pages.size();
    showPage(pages[(next + pages.size()) % pages.size()]);
}

void PageArea::toggleSettings() {
    showPage(shownPage() == Page::Settings ? pageBeforeSettings : Page::Settings);
}

void PageArea::arrange() {
    const Page shown = shownPage();
    pageBar->setPages(pagesNow());
    pageBar->setShownPage(shown);
    // Hide first, then show: otherwise the window would have to hold both for a moment.
    for (const bool show : {false, true}) {
        for (int page = 0; page < pageCount; ++page) {
            const bool isShown =
                static_cast<Page>(page) == shown || (!isPaged && isDevice(static_cast<Page>(page)));
            if (isShown == show)
                widgets[page]->setVisible(show);
        }
    }
    column->setStretchFactor(devices, isPaged && isDevice(shown) ? 1 : 0);
    emit arranged();
}

void PageArea::takeInput(const KX::KXInputEvent& event) {
    switch (shownPage()) {
    case Page::Events: eventPage->takeInput(event); break;
    case Page::TimeLine: timeLineView->takeInput(event); break;
    case Page::Settings: settingsPanel->takeInput(event); break;
    default: break;
    }
}

PageBar& PageArea::bar() const {
    return *pageBar;
}

QWidget& PageArea::pageWidget(Page page) const {
    return *widgets.at(static_cast<int>(page));
}

KeypadPanel& PageArea::keypad() const {
    return *keypadPanel;
}

ActionPanel& PageArea::actions() const {
    return *actionPanel;
}

EventPage& PageArea::events() const {
    return *eventPage;
}

TimeLineView& PageArea::timeLine() const {
    return *timeLineView;
}

EncoderView& PageArea::encoder() const {
    return *encoderView;
}

SettingsPanel& PageArea::settings() const {
    return *settingsPanel;
}

} // namespace Terminal

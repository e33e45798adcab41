#include "terminal/PageArea.h"

#include "terminal/ActionPanel.h"
#include "terminal/EventPage.h"
#include "terminal/KeypadPanel.h"
#include "terminal/PageBar.h"
#include "terminal/SettingsPanel.h"
#include "terminal/Theme.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

PageArea::PageArea(EventModel& model, InputSettings& settings, QWidget* parent)
    : QWidget(parent), pageBar(new PageBar), keypadPanel(new KeypadPanel), actionPanel(new ActionPanel),
      eventPage(new EventPage(model)), settingsPanel(new SettingsPanel(settings)), widgets(pageCount, nullptr),
      column(new QVBoxLayout(this)), devices(new QHBoxLayout) {
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(Theme::spacing);
    devices->setSpacing(Theme::spacing);
    devices->addWidget(keypadPanel, 1);
    devices->addWidget(actionPanel);
    column->addLayout(devices);
    column->addWidget(pageBar, 0, Qt::AlignLeft);
    widgets[static_cast<int>(Page::Events)] = eventPage;
    widgets[static_cast<int>(Page::Keypad)] = keypadPanel;
    widgets[static_cast<int>(Page::Actions)] = actionPanel;
    widgets[static_cast<int>(Page::Settings)] = settingsPanel;
    for (QWidget* page : qAsConst(widgets)) {
        if (page != nullptr && page != keypadPanel && page != actionPanel)
            column->addWidget(page, 1);
    }
    connect(pageBar, &PageBar::chosen, this, &PageArea::showPage);
    arrange();
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
    for (int page = 0; page < pageCount; ++page) {
        if (widgets[page] != nullptr && (isPaged || !isDevice(static_cast<Page>(page))))
            pages.append(static_cast<Page>(page));
    }
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
    const QVector<Page>& pages = pageBar->pages();
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
    // First away with what goes, or the window would have to hold both for a moment.
    for (const bool show : {false, true}) {
        for (int page = 0; page < pageCount; ++page) {
            const bool isShown =
                static_cast<Page>(page) == shown || (!isPaged && isDevice(static_cast<Page>(page)));
            if (widgets[page] != nullptr && isShown == show)
                widgets[page]->setVisible(show);
        }
    }
    column->setStretchFactor(devices, isPaged && isDevice(shown) ? 1 : 0);
}

void PageArea::takeInput(const KX::KXInputEvent& event) {
    switch (shownPage()) {
    case Page::Events:
        eventPage->takeInput(event);
        break;
    case Page::Settings:
        settingsPanel->takeInput(event);
        break;
    default:
        break;
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

SettingsPanel& PageArea::settings() const {
    return *settingsPanel;
}

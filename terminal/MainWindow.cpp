#include "terminal/MainWindow.h"

#include "events/KXEventType.h"
#include "terminal/ActionPanel.h"
#include "terminal/EventListView.h"
#include "terminal/EventModel.h"
#include "terminal/KeyCodes.h"
#include "terminal/KeypadPanel.h"
#include "terminal/OperatorScreen.h"
#include "terminal/ScreenButton.h"
#include "terminal/SoftKey.h"
#include "terminal/SoftKeyBar.h"
#include "terminal/Theme.h"

#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QScreen>
#include <QVBoxLayout>

namespace {

constexpr QSize desktopSize(1024, 768);
constexpr QSize smallestSize(800, 480);
constexpr QSize sizeForEverything(1000, 640);

QLabel* makeLabel(const QString& text, const QFont& font, const QColor& colour) {
    auto* label = new QLabel(text);
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, colour);
    label->setPalette(palette);
    return label;
}

QString countText(quint64 count) {
    return count == 1 ? QStringLiteral("1 event") : QStringLiteral("%1 events").arg(count);
}

} // namespace

MainWindow::MainWindow(EventModel& eventModel) : model(eventModel) {
    setWindowTitle(QStringLiteral("kxterminal"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(Theme::spacing, Theme::spacing, Theme::spacing, Theme::spacing);
    column->setSpacing(Theme::spacing);
    column->addWidget(makeHeader());
    column->addWidget(screen = new OperatorScreen);
    column->addWidget(softKeys = new SoftKeyBar);
    pages = new QGridLayout;
    pages->setSpacing(Theme::spacing);
    pages->addWidget(keypadPanel = new KeypadPanel, 0, 0);
    pages->addWidget(actionPanel = new ActionPanel, 0, 1);
    pages->addWidget(list = new EventListView(model), 1, 0, 1, 2);
    pages->setColumnStretch(0, 1);
    column->addLayout(pages, 1);

    setMinimumSize(smallestSize);
    resize(desktopSize.boundedTo(QGuiApplication::primaryScreen()->availableSize()));
    arrange();
    connect(&model, &EventModel::appended, this, &MainWindow::showEvents);
}

QWidget* MainWindow::makeHeader() {
    static const char* const labels[PageCount] = {"Events\tF10", "Keypad\tF11", "Actions\tF12"};
    auto* header = new QWidget;
    auto* row = new QHBoxLayout(header);
    row->setContentsMargins(4, 0, 4, 0);
    row->addWidget(makeLabel(QStringLiteral("KX"), Theme::font(18, true), Theme::accent()));
    row->addWidget(title = makeLabel(QStringLiteral("OPERATOR TERMINAL"), Theme::font(14, true), Theme::text()));
    row->addStretch(1);
    for (int page = 0; page < PageCount; ++page) {
        auto* button = pageButtons[page] = new ScreenButton(QString::fromLatin1(labels[page]));
        button->setCheckable(true);
        row->addWidget(button);
        connect(button, &QAbstractButton::clicked, this, [this, page] { showPage(static_cast<Page>(page)); });
    }
    row->addStretch(1);
    eventCount = makeLabel(countText(0), Theme::font(14), Theme::quietText());
    row->addWidget(eventCount);
    return header;
}

bool MainWindow::hasPages() const {
    return width() < sizeForEverything.width() || height() < sizeForEverything.height();
}

void MainWindow::showPage(Page page) {
    shownPage = page;
    arrange();
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    arrange();
}

void MainWindow::arrange() {
    const bool paged = hasPages();
    screen->setCompact(paged);
    title->setVisible(!paged);
    for (int page = 0; page < PageCount; ++page) {
        pageButtons[page]->setVisible(paged);
        pageButtons[page]->setChecked(page == shownPage);
    }
    list->setVisible(!paged || shownPage == EventsPage);
    keypadPanel->setVisible(!paged || shownPage == KeypadPage);
    actionPanel->setVisible(!paged || shownPage == ActionsPage);
    pages->setHorizontalSpacing(paged ? 0 : Theme::spacing); // the grid keeps it beside a hidden page, too
    // Without the list, what else is shown gets its room.
    pages->setRowStretch(0, list->isHidden() ? 1 : 0);
    pages->setRowStretch(1, list->isHidden() ? 0 : 1);
    pages->setColumnStretch(0, keypadPanel->isHidden() && list->isHidden() ? 0 : 1);
    pages->setColumnStretch(1, keypadPanel->isHidden() && list->isHidden() ? 1 : 0);
}

void MainWindow::showEvents(const ClassifiedEvents& events) {
    eventCount->setText(countText(model.appendedCount()));
    screen->showInput(events.back());
    softKeys->showEvents(events);
    for (const KX::KXInputEvent& event : events) {
        const int page = event.keyCode - KeyCodes::firstPage;
        if (event.eventType == KX::KEY_PRESS_EVENT && page >= 0 && page < PageCount)
            showPage(static_cast<Page>(page));
    }
}

QPoint MainWindow::softKeyPosition(int number) const {
    return positionOf(*softKeys->keys().at(number));
}

QPoint MainWindow::positionOf(const QWidget& widget) const {
    return widget.mapTo(this, widget.rect().center());
}

KeypadPanel& MainWindow::keypad() const {
    return *keypadPanel;
}

ActionPanel& MainWindow::actions() const {
    return *actionPanel;
}

SoftKeyBar& MainWindow::softKeyBar() const {
    return *softKeys;
}

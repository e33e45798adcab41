#include "terminal/MainWindow.h"

#include "terminal/EventListView.h"
#include "terminal/EventModel.h"
#include "terminal/OperatorScreen.h"
#include "terminal/SoftKey.h"
#include "terminal/SoftKeyBar.h"
#include "terminal/Theme.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QScreen>
#include <QVBoxLayout>

namespace {

constexpr QSize desktopSize(1024, 768);
constexpr QSize smallestSize(800, 480);

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
    column->addWidget(new EventListView(model), 1);

    setMinimumSize(smallestSize);
    resize(desktopSize.boundedTo(QGuiApplication::primaryScreen()->availableSize()));
    connect(&model, &EventModel::appended, this, &MainWindow::showEvents);
}

QWidget* MainWindow::makeHeader() {
    auto* header = new QWidget;
    auto* row = new QHBoxLayout(header);
    row->setContentsMargins(4, 0, 4, 0);
    row->addWidget(makeLabel(QStringLiteral("KX"), Theme::font(18, true), Theme::accent()));
    row->addWidget(makeLabel(QStringLiteral("OPERATOR TERMINAL"), Theme::font(14, true), Theme::text()));
    row->addStretch(1);
    eventCount = makeLabel(countText(0), Theme::font(14), Theme::quietText());
    row->addWidget(eventCount);
    return header;
}

void MainWindow::showEvents(const ClassifiedEvents& events) {
    eventCount->setText(countText(model.appendedCount()));
    screen->showInput(events.back());
    softKeys->showEvents(events);
}

QPoint MainWindow::softKeyPosition(int number) const {
    const SoftKey* key = softKeys->keys().at(number);
    return key->mapTo(this, key->rect().center());
}

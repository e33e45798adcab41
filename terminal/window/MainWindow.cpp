#include "terminal/window/MainWindow.h"

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "terminal/events/EventModel.h"
#include "terminal/look/KeyCodes.h"
#include "terminal/look/Sizes.h"
#include "terminal/look/Theme.h"
#include "terminal/settings/InputSettings.h"
#include "terminal/timeline/TimeLineView.h"
#include "terminal/window/OperatorScreen.h"
#include "terminal/window/PageArea.h"
#include "terminal/window/SoftKeyBar.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>
#include <optional>

namespace Terminal {

namespace {

constexpr QSize desktopSize(1024, 768);
constexpr QSize smallestSize(640, 480);
constexpr int frameHeight = 40; // what a window manager may take for a title
constexpr QSize sizeForEverything(1000, 700);
constexpr int widthForName = 760;

QLabel* makeLabel(const QString& text, const QColor& colour) {
    auto* label = new QLabel(text);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, colour);
    label->setPalette(palette);
    return label;
}

// From the toolkit's key to the key code. The library offers only the opposite table.
int keyCodeOf(int toolkitKey) {
    const auto& toolkitKeys = *KX::KXInputEventManager::getKXtoOSCodeMap();
    const auto found = std::find_if(toolkitKeys.begin(), toolkitKeys.end(),
                                    [toolkitKey](const auto& entry) { return entry.second == toolkitKey; });
    return found == toolkitKeys.end() ? KX::KX_KEY_NONE : found->first;
}

// During a replay no classified event tells of the viewer's keys and wheel, because the recording has taken the
// operator's place. This makes the event that such a report would have become, without classification. It makes
// nothing of reports that the views ignore.
std::optional<KX::KXInputEvent> viewerEvent(const KX::KXToolkitEvent& report) {
    KX::KXInputEvent event;
    event.timeStamp = report.timeStamp;
    event.osKeyCode = report.osKeyCode;
    switch (report.eventType) {
    case KX::TOOLKIT_WHEEL_EVENT:
        event.eventType = KX::ENCODER_MOVE_EVENT;
        event.keyCode = report.keyCode;
        event.count = report.count;
        return event;
    case KX::TOOLKIT_KEY_PRESS_EVENT:
    case KX::TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT: // a held key scrolls on
        event.keyCode = keyCodeOf(report.osKeyCode);
        event.count = 1;
        event.eventType = KX::isStepKey(event.keyCode) ? KX::ENCODER_MOVE_EVENT : KX::KEY_PRESS_EVENT;
        return event;
    case KX::TOOLKIT_KEY_RELEASE_EVENT:
        event.keyCode = keyCodeOf(report.osKeyCode);
        event.eventType = KX::KEY_RELEASE_EVENT;
        return event;
    default: return std::nullopt;
    }
}

} // namespace

MainWindow::MainWindow(EventModel& eventModel, InputSettings& inputSettings)
    : model(eventModel), settings(inputSettings) {
    setWindowTitle(QStringLiteral("kxterminal"));
    column = new QVBoxLayout(this);
    column->addWidget(makeHeader());
    makeViews();

    setMinimumSize(smallestSize);
    resize(desktopSize.boundedTo(QGuiApplication::primaryScreen()->availableSize()));
    arrange();
    connect(&model, &EventModel::appended, this, &MainWindow::showEvents);
}

void MainWindow::coverScreen() {
    const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
    setGeometry(available);
    // Without a screen a maximized window leaves room for a frame that nobody draws.
    if (QGuiApplication::platformName() == QLatin1String("offscreen"))
        return;
    // On a small screen a title would push the bottom of the window off it.
    const bool hasRoomForFrame = available.height() >= smallestSize.height() + frameHeight;
    setWindowState(windowState() | (hasRoomForFrame ? Qt::WindowMaximized : Qt::WindowFullScreen));
}

void MainWindow::makeViews() {
    column->addWidget(screen = new OperatorScreen);
    column->addWidget(softKeys = new SoftKeyBar);
    column->addWidget(area = new PageArea(model, settings), 1);
    makeBanner();
    connect(area, &PageArea::arranged, this, [this] { softKeys->setVisible(!area->needsRoom()); });
}

void MainWindow::renewViews() {
    const Page page = area->shownPage();
    delete &area->bar(); // may be in the header
    delete area;
    delete softKeys;
    delete screen;
    makeViews();
    shownUnit = 0; // the new ones do not know it
    arrange();
    area->showPage(page);
}

void MainWindow::addBelowHeader(QWidget* row) {
    column->insertWidget(1, row);
}

void MainWindow::addStatus(QWidget* line) {
    layout()->addWidget(line);
}

QWidget* MainWindow::makeHeader() {
    auto* header = new QWidget;
    headerRow = new QHBoxLayout(header);
    headerRow->setContentsMargins(0, 0, 0, 0);
    headerRow->addWidget(name = makeLabel(QStringLiteral("KX"), Theme::accent()));
    headerRow->addWidget(title = makeLabel(QStringLiteral("OPERATOR TERMINAL"), Theme::text()));
    headerRow->addStretch(1);
    eventCount = makeLabel(QString(), Theme::quietText());
    eventCount->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    headerRow->addWidget(eventCount);
    return header;
}

void MainWindow::makeBanner() {
    auto* cover = new QVBoxLayout(screen);
    cover->setContentsMargins(0, 0, 0, 0);
    cover->addWidget(banner = new InputOffBanner);
    const auto show = [this] {
        const bool isOff = settings.value(KX::KXInputSetting::AcceptInput) == 0;
        banner->setVisible(isOff);
        softKeys->setSwitchedOff(isOff);
    };
    connect(&settings, &InputSettings::changed, banner, show);
    connect(banner, &QAbstractButton::clicked, this, [this] { settings.set(KX::KXInputSetting::AcceptInput, 1); });
    show();
}

bool MainWindow::hasPages() const {
    return width() < sizeForEverything.width() || height() < sizeForEverything.height();
}

void MainWindow::showPage(Page page) {
    area->showPage(page);
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    arrange();
}

void MainWindow::arrange() {
    const bool paged = hasPages();
    setUnit(paged ? Sizes::unitWithPages(size()) : Sizes::unitWithEverything(size()));
    title->setVisible(!paged);
    name->setVisible(width() >= widthForName);
    area->setPaged(paged);
    if (paged && headerRow->indexOf(&area->bar()) < 0)
        headerRow->insertWidget(2, &area->bar());
    softKeys->setVisible(!area->needsRoom());
    showCount();
}

// The font tells all widgets of the size, see Sizes.
void MainWindow::setUnit(int unit) {
    if (unit == shownUnit)
        return;
    shownUnit = unit;
    const Sizes sizes(unit);
    column->setContentsMargins(sizes.spacing(), sizes.spacing(), sizes.spacing(), sizes.spacing());
    column->setSpacing(sizes.spacing());
    area->setSpacing(sizes.spacing());
    headerRow->setSpacing(sizes.spacing());
    setFont(Theme::font(unit));
    name->setFont(Theme::font(sizes.value(), true));
    title->setFont(Theme::font(sizes.heading(), true));
}

void MainWindow::showCount() {
    const quint64 count = model.appendedCount();
    const QString unit = count == 1 ? QStringLiteral("event") : QStringLiteral("events");
    // Beside the pages there is room for two short lines. The title is hidden there, so they show how far a replay
    // is.
    if (width() < widthForName && replayName.isNull())
        eventCount->setText(QString::number(count));
    else if (!hasPages())
        eventCount->setText(QStringLiteral("%1 %2").arg(count).arg(unit));
    else if (replayName.isNull())
        eventCount->setText(QStringLiteral("%1\n%2").arg(count).arg(unit));
    else
        eventCount->setText(QStringLiteral("%1 %\n%2").arg(replayPercent).arg(count));
}

void MainWindow::showEvents(const ClassifiedEvents& events) {
    showCount();
    // The screen gets every event: the encoder's numbers must stay even if another event follows in the same
    // batch.
    for (const KX::KXInputEvent& event : events)
        screen->showInput(event);
    softKeys->showEvents(events);
    if (!replayName.isNull())
        return;
    for (const KX::KXInputEvent& event : events)
        takeInput(event);
}

void MainWindow::beginReplay(const QString& recording) {
    replayName = recording;
    area->timeLine().showRecording();
    showReplayProgress(0);
}

void MainWindow::showReplayProgress(int percent) {
    replayPercent = percent;
    title->setText(QStringLiteral("REPLAY  %1  %2 %").arg(replayName).arg(replayPercent));
    showCount();
}

void MainWindow::takeInput(const KX::KXInputEvent& event) {
    const int key = KeyCodes::isPress(event) ? event.keyCode : KX::KX_KEY_NONE;
    switch (key) {
    case KeyCodes::previousPage: area->turnPage(-1); break;
    case KeyCodes::nextPage: area->turnPage(1); break;
    case KeyCodes::settingsPage: area->toggleSettings(); break;
    default: area->takeInput(event);
    }
}

void MainWindow::takeReport(const KX::KXToolkitEvent& event) {
    if (event.eventType == KX::TOOLKIT_KEY_PRESS_EVENT && event.osKeyCode == Qt::Key_F12 &&
        settings.value(KX::KXInputSetting::AcceptInput) == 0)
        settings.set(KX::KXInputSetting::AcceptInput, 1);
    else if (!replayName.isNull()) {
        if (const auto input = viewerEvent(event))
            takeInput(*input);
    }
}

QPoint MainWindow::softKeyPosition(int number) const {
    return positionOf(*softKeys->keys().at(number));
}

QPoint MainWindow::positionOf(const QWidget& widget) const {
    return widget.mapTo(this, widget.rect().center());
}

KeypadPanel& MainWindow::keypad() const {
    return area->keypad();
}

ActionPanel& MainWindow::actions() const {
    return area->actions();
}

OperatorScreen& MainWindow::operatorScreen() const {
    return *screen;
}

SoftKeyBar& MainWindow::softKeyBar() const {
    return *softKeys;
}

EncoderView& MainWindow::encoder() const {
    return area->encoder();
}

PageArea& MainWindow::pages() const {
    return *area;
}

InputOffBanner& MainWindow::inputOffBanner() const {
    return *banner;
}

} // namespace Terminal

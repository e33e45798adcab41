#include "terminal/session/DemoSession.h"

#include "platform/KXTick.h"
#include "terminal/actions/ActionPanel.h"
#include "terminal/keypad/KeypadControls.h"
#include "terminal/keypad/KeypadPanel.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/window/MainWindow.h"
#include "terminal/window/OperatorScreen.h"
#include "terminal/window/PageArea.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWindow>

#include <algorithm>
#include <utility>

namespace Terminal {

namespace {

constexpr int tapMs = 70;
constexpr int doubleTapGapMs = 90;
constexpr int holdMs = 2300;    // beyond the 2 s of a long press
constexpr int pauseMs = 600;    // beyond the 300 ms of a double press
constexpr int leastDelayMs = 5; // two steps of the encoder in one millisecond would be an error

// Keys of the built-in keypad. The implement is folded first, so it cannot be lowered.
constexpr int lowerKey = 12;
constexpr int foldKey = 13;

} // namespace

DemoSession::DemoSession(MainWindow& mainWindow) : window(mainWindow) {
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, &DemoSession::doNextStep);
    writeScript();
}

void DemoSession::start() {
    waitForNextStep();
}

void DemoSession::writeScript() {
    tapKey(pauseMs, Qt::Key_Home, tapMs);
    then(pauseMs, [this] { window.showPage(Page::TimeLine); });
    useKeys();
    then(pauseMs, [this] { window.showPage(Page::Encoder); });
    useEncoder();
    then(pauseMs, [this] { window.showPage(Page::Events); });
    useSoftKeys();
    then(pauseMs, [this] { window.showPage(Page::Keypad); });
    useKeypad();
    then(
        pauseMs, [this] { window.showPage(Page::Actions); });
    touch(
        pauseMs, [this]() -> const QWidget& { return window.actions().loopButton(); }, tapMs);
    // The last events are still on their way when the last input is posted.
    then(pauseMs, [this] { emit finished(); });
}

void DemoSession::useKeys() {
    tapKey(pauseMs, Qt::Key_Escape, tapMs);
    tapKey(doubleTapGapMs, Qt::Key_Escape, tapMs);

    tapKey(pauseMs, Qt::Key_End, holdMs);
}

void DemoSession::useEncoder() {
    for (int step = 0; step < 12; ++step)
        tapKey(step == 0 ? pauseMs : 12, Qt::Key_Up, 6);

    for (const int gapMs : {pauseMs, 90, 60, 40, 30, 25, 20})
        turnWheel(gapMs, 1);
    turnWheel(pauseMs, -2);
}

void DemoSession::useSoftKeys() {
    touchSoftKey(pauseMs, 5, tapMs);

    touchSoftKey(pauseMs, 2, tapMs);
    touchSoftKey(doubleTapGapMs, 2, tapMs);

    touchSoftKey(pauseMs, 3, holdMs);
}

void DemoSession::useKeypad() {
    tapKeypad(pauseMs, foldKey, tapMs);
    tapKeypad(pauseMs, lowerKey, holdMs);
    for (const int gapMs : {pauseMs, 90, 60, 40, 30, 25, 20})
        turnKnob(gapMs, 1);
}

void DemoSession::doNextStep() {
    const Step& step = script[nextStep++];
    step.action();
    if (nextStep < script.size())
        waitForNextStep();
}

// Between the steps of one gesture, a terminal that is busy drawing must not add up its delays: two quick taps would
// become slow ones.
void DemoSession::waitForNextStep() {
    const int delayMs = script[nextStep].delayMs;
    if (delayMs >= pauseMs || !sinceGesture.isValid()) {
        sinceGesture.start();
        dueMs = 0;
    }
    dueMs += delayMs;
    timer.start(std::max(leastDelayMs, dueMs - static_cast<int>(sinceGesture.elapsed())));
}

void DemoSession::then(int delayMs, std::function<void()> action) {
    script.push_back({delayMs, std::move(action)});
}

void DemoSession::tapKey(int delayMs, int key, int heldMs) {
    then(
        delayMs, [this, key] { postKey(true, key); });
    then(heldMs, [this, key] { postKey(false, key); });
}

void DemoSession::touchSoftKey(int delayMs, int number, int heldMs) {
    then(
        delayMs, [this, number] { postMouse(true, window.softKeyPosition(number)); });
    then(heldMs, [this, number] { postMouse(false, window.softKeyPosition(number)); });
}

void DemoSession::touch(int delayMs, std::function<const QWidget&()> target, int heldMs) {
    then(
        delayMs, [this, target] { postMouse(true, window.positionOf(target())); });
    then(heldMs, [this, target] { postMouse(false, window.positionOf(target())); });
}

// A layout from a file may lack this key; then nothing happens.
void DemoSession::tapKeypad(int delayMs, int number, int heldMs) {
    for (const bool press : {true, false}) {
        then(
            press ? delayMs : heldMs,
            [this, number, press] {
                if (const KeypadKey* const key = window.keypad().key(number))
                    postMouse(press, window.positionOf(*key));
            });
    }
}

void DemoSession::turnKnob(int delayMs, int detents) {
    then(
        delayMs, [this, detents] { postWheel(detents, window.positionOf(window.keypad().knob())); });
}

void DemoSession::turnWheel(int delayMs, int detents) {
    then(
        delayMs, [this, detents] { postWheel(detents, window.positionOf(window.operatorScreen())); });
}

void DemoSession::postKey(bool press, int key) {
    const QEvent::Type type = press ? QEvent::KeyPress : QEvent::KeyRelease;
    auto* event = new QKeyEvent(type, key, Qt::NoModifier);
    event->setTimestamp(KX::KXTick::getTickCount()); // as the window system does
    QCoreApplication::postEvent(window.windowHandle(), event);
}

void DemoSession::postMouse(bool press, const QPoint& position) {
    const QEvent::Type type = press ? QEvent::MouseButtonPress : QEvent::MouseButtonRelease;
    QCoreApplication::postEvent(window.windowHandle(),
                                new QMouseEvent(type, position, window.mapToGlobal(position), Qt::LeftButton,
                                                press ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier));
}

void DemoSession::postWheel(int detents, const QPoint& position) {
    QCoreApplication::postEvent(window.windowHandle(),
                                new QWheelEvent(position, window.mapToGlobal(position), QPoint(),
                                                QPoint(0, detents * 120), Qt::NoButton, Qt::NoModifier,
                                                Qt::NoScrollPhase, false));
}

} // namespace Terminal

#include "terminal/session/ToolkitLayer.h"

#include "events/KXEventType.h"
#include "platform/KXTick.h"
#include "terminal/session/SeparateDevice.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWidget>
#include <QWindow>

#include <cstdlib>
#include <utility>

namespace Terminal {

namespace {

bool isKeyEvent(const QEvent* event) {
    return event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease;
}

// The library posts its key events to the active window, and they have no time. Typed keys have the window
// system's time, even when Qt offers them to the window because no widget used them; those were handled before.
bool isKeyOfLibrary(const QObject* receiver, const QEvent* event) {
    return isKeyEvent(event) && receiver->isWidgetType() && static_cast<const QWidget*>(receiver)->isWindow() &&
           static_cast<const QKeyEvent*>(event)->timestamp() == 0;
}

bool keysBelongToWidget() {
    if (QApplication::activePopupWidget())
        return true;
    const QWidget* focus = QApplication::focusWidget();
    return focus && focus->testAttribute(Qt::WA_InputMethodEnabled);
}

} // namespace

ToolkitLayer::ToolkitLayer(QWidget& watchedWindow, Report reportFunction, Repeats repeatsOfKeys)
    : window(watchedWindow), report(std::move(reportFunction)), repeats(repeatsOfKeys) {
    suspicionTimer.setSingleShot(true);
    suspicionTimer.setInterval(suspicionMs);
    connect(&suspicionTimer, &QTimer::timeout, this, &ToolkitLayer::reportSuspectedRelease);
    QCoreApplication::instance()->installEventFilter(this);
}

ToolkitLayer::Repeats ToolkitLayer::repeatsOfPlatform() {
    return QGuiApplication::platformName() == QLatin1String("xcb") ? Repeats::MayLookTyped : Repeats::AreMarked;
}

bool ToolkitLayer::eventFilter(QObject* receiver, QEvent* event) {
    if (receiver == window.windowHandle())
        return nativeWindowGets(event);
    if (isKeyOfLibrary(receiver, event)) {
        reportKey(*static_cast<QKeyEvent*>(event));
        return true;
    }
    return receiver == &window && windowWidgetGets(event);
}

bool ToolkitLayer::nativeWindowGets(QEvent* event) {
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease: return takeKey(*static_cast<QKeyEvent*>(event));
    case QEvent::MouseButtonPress: pressMouse(*static_cast<QMouseEvent*>(event)); return false;
    case QEvent::MouseButtonDblClick: doublePressMouse(*static_cast<QMouseEvent*>(event)); return false;
    case QEvent::MouseButtonRelease: releaseMouse(*static_cast<QMouseEvent*>(event)); return false;
    case QEvent::MouseMove: moveMouse(*static_cast<QMouseEvent*>(event)); return false;
    case QEvent::Wheel: return takeWheel(*static_cast<QWheelEvent*>(event));
    case QEvent::Enter: sendMouse(KX::TOOLKIT_MOUSE_ENTER_EVENT, Qt::NoButton); return false;
    case QEvent::Leave: sendMouse(KX::TOOLKIT_MOUSE_EXIT_EVENT, Qt::NoButton); return false;
    case QEvent::TouchCancel:
        // Qt will also release the left button, which stands for the touch. That release is not reported.
        escapeButtons(heldButtons);
        return false;
    default: return false;
    }
}

bool ToolkitLayer::windowWidgetGets(QEvent* event) {
    switch (event->type()) {
    case QEvent::WindowDeactivate:
    case QEvent::WindowBlocked:
    case QEvent::Hide:
        escapeButtons(heldButtons);
        releaseHeldKeys();
        break;
    default: break;
    }
    return false;
}

bool ToolkitLayer::takeKey(const QKeyEvent& event) {
    const bool endsReportedPress = event.type() == QEvent::KeyRelease && heldKeys.contains(event.key());
    if (keysBelongToWidget() && !endsReportedPress)
        return false;
    reportKey(event);
    return true;
}

void ToolkitLayer::reportKey(const QKeyEvent& event) {
    const bool press = event.type() == QEvent::KeyPress;
    if (event.isAutoRepeat() || (press && provesAutoRepeat(event))) {
        reportAutoRepeat(event);
    } else if (press) {
        sendKey(KX::TOOLKIT_KEY_PRESS_EVENT, event.key());
        heldKeys.insert(event.key(), event.timestamp());
    } else if (mayBeAutoRepeat(event)) {
        suspectRelease(event);
    } else {
        sendKey(KX::TOOLKIT_KEY_RELEASE_EVENT, event.key());
        heldKeys.remove(event.key());
    }
}

void ToolkitLayer::reportAutoRepeat(const QKeyEvent& event) {
    const bool press = event.type() == QEvent::KeyPress;
    if (press && provesAutoRepeat(event)) {
        const unsigned int tick = suspectedRelease->tick;
        suspectedRelease.reset();
        suspicionTimer.stop();
        sendKeyAt(tick, KX::TOOLKIT_KEY_AUTO_REPEAT_RELEASE_EVENT, event.key());
    }
    sendKey(press ? KX::TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT : KX::TOOLKIT_KEY_AUTO_REPEAT_RELEASE_EVENT,
            event.key());
}

bool ToolkitLayer::mayBeAutoRepeat(const QKeyEvent& release) const {
    if (repeats == Repeats::AreMarked)
        return false;
    const auto held = heldKeys.constFind(release.key());
    // Keys from the library have no time and never repeat.
    return held != heldKeys.constEnd() && release.timestamp() != 0 &&
           release.timestamp() - held.value() >= shortestRepeatDelayMs;
}

bool ToolkitLayer::provesAutoRepeat(const QKeyEvent& press) const {
    return suspectedRelease && suspectedRelease->osKeyCode == press.key() &&
           suspectedRelease->windowSystemTime == press.timestamp();
}

void ToolkitLayer::suspectRelease(const QKeyEvent& release) {
    reportSuspectedRelease();
    suspectedRelease = SuspectedRelease{release.key(), release.timestamp(), KX::KXTick::getTickCount()};
    suspicionTimer.start();
}

void ToolkitLayer::reportSuspectedRelease() {
    suspicionTimer.stop();
    const std::optional<SuspectedRelease> release = std::exchange(suspectedRelease, std::nullopt);
    if (!release)
        return;
    heldKeys.remove(release->osKeyCode);
    sendKeyAt(release->tick, KX::TOOLKIT_KEY_RELEASE_EVENT, release->osKeyCode);
}

void ToolkitLayer::pressMouse(const QMouseEvent& event) {
    // While one button is held outside the window, Qt also delivers presses of other buttons there.
    if (!window.rect().contains(event.pos()))
        return;
    // The release and the moves of this press are ignored too.
    if (SeparateDevice::ownsPress(window, event.pos()))
        return;
    heldButtons |= event.button();
    lastMovePosition = event.pos();
    sendMouse(KX::TOOLKIT_MOUSE_PRESS_EVENT, event.button());
}

// The manager finds double presses itself and ignores the toolkit's. A native window gets the second press and
// then the double click; a widget gets the double click instead of the press. In both cases the second press must
// be reported once.
void ToolkitLayer::doublePressMouse(const QMouseEvent& event) {
    if (heldButtons.testFlag(event.button()))
        sendMouse(KX::TOOLKIT_MOUSE_DOUBLE_PRESS_EVENT, event.button());
    else
        pressMouse(event);
}

void ToolkitLayer::releaseMouse(const QMouseEvent& event) {
    if (!heldButtons.testFlag(event.button()))
        return; // pressed elsewhere, or escaped already
    if (!window.rect().contains(event.pos())) {
        escapeButtons(event.button());
        return;
    }
    heldButtons &= ~Qt::MouseButtons(event.button());
    sendMouse(KX::TOOLKIT_MOUSE_RELEASE_EVENT, event.button());
}

void ToolkitLayer::moveMouse(const QMouseEvent& event) {
    // A release can get lost, for example when another program grabs the pointer. The next move shows it.
    escapeButtons(heldButtons & ~event.buttons());
    const bool movedEnough = (event.pos() - lastMovePosition).manhattanLength() >= moveDistance;
    if (heldButtons == Qt::NoButton || !movedEnough)
        return;
    lastMovePosition = event.pos();
    const auto lowestHeld = static_cast<unsigned int>(heldButtons) & -static_cast<unsigned int>(heldButtons);
    sendMouse(KX::TOOLKIT_MOUSE_MOVE_EVENT, static_cast<Qt::MouseButton>(lowestHeld));
}

bool ToolkitLayer::takeWheel(const QWheelEvent& event) {
    if (SeparateDevice::ownsWheel(window, event.position().toPoint()))
        return false;
    turnWheel(event);
    return true;
}

void ToolkitLayer::turnWheel(const QWheelEvent& event) {
    const int detents = wheelDetents.turn(event.angleDelta().y());
    if (detents == 0)
        return;
    KX::KXToolkitEvent turn;
    turn.eventType = KX::TOOLKIT_WHEEL_EVENT;
    turn.count = std::abs(detents);
    turn.keyCode = detents > 0 ? KX::KX_KEY_UP : KX::KX_KEY_DOWN;
    send(turn);
}

void ToolkitLayer::escapeButtons(Qt::MouseButtons buttons) {
    for (unsigned int bit = Qt::LeftButton; bit <= Qt::MaxMouseButton; bit <<= 1U) {
        const auto button = static_cast<Qt::MouseButton>(bit);
        if (!buttons.testFlag(button))
            continue;
        heldButtons &= ~Qt::MouseButtons(button);
        sendMouse(KX::TOOLKIT_MOUSE_ESCAPE_EVENT, button);
    }
}

void ToolkitLayer::releaseHeldKeys() {
    reportSuspectedRelease();
    const QList<int> released = heldKeys.keys();
    heldKeys.clear();
    for (const int osKeyCode : released)
        sendKey(KX::TOOLKIT_KEY_RELEASE_EVENT, osKeyCode);
}

void ToolkitLayer::send(KX::KXToolkitEvent& event) {
    reportSuspectedRelease();
    event.timeStamp = KX::KXTick::getTickCount();
    report(event);
}

void ToolkitLayer::sendKey(int type, int osKeyCode) {
    reportSuspectedRelease();
    sendKeyAt(KX::KXTick::getTickCount(), type, osKeyCode);
}

void ToolkitLayer::sendKeyAt(unsigned int tick, int type, int osKeyCode) {
    KX::KXToolkitEvent event;
    event.eventType = type;
    event.osKeyCode = osKeyCode;
    event.timeStamp = tick;
    report(event);
}

void ToolkitLayer::sendMouse(int type, Qt::MouseButton button) {
    KX::KXToolkitEvent event;
    event.eventType = type;
    event.eventData[1] = static_cast<unsigned int>(button);
    send(event);
}

} // namespace Terminal

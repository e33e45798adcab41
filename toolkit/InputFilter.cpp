#include "toolkit/InputFilter.h"

#include "events/KXEventType.h"
#include "platform/KXTick.h"
#include "toolkit/InputClock.h"
#include "toolkit/InputOwners.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace KX {

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
    return focus && (focus->testAttribute(Qt::WA_InputMethodEnabled) || ownsInput(*focus, InputKind::Keys));
}

// Whether it is reported with the operator's time.
bool isTimed(QEvent::Type type) {
    switch (type) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::TouchCancel: return true;
    default: return false;
    }
}

} // namespace

WindowSystem WindowSystem::ofPlatform(const QString& name) {
    const bool isX11 = name == QLatin1String("xcb");
    return {isX11 || name.startsWith(QLatin1String("wayland")), isX11};
}

InputFilter::InputFilter(QWidget& watchedWindow, Report reportFunction, WindowSystem windowSystem,
                         InputClock& inputClock)
    : window(&watchedWindow), report(std::move(reportFunction)), system(windowSystem), clock(inputClock) {
    suspicionTimer.setSingleShot(true);
    suspicionTimer.setInterval(suspicionMs);
    connect(&suspicionTimer, &QTimer::timeout, this, &InputFilter::endSuspicion);
    QCoreApplication::instance()->installEventFilter(this);
}

void InputFilter::setReport(Report reportFunction) {
    report = std::move(reportFunction);
}

bool InputFilter::eventFilter(QObject* receiver, QEvent* event) {
    if (!window)
        return false;
    if (receiver == window->windowHandle())
        return nativeWindowGets(event, QPoint());
    if (const std::optional<QPoint> origin = originOfNativeChild(receiver)) {
        const bool isOfWindow = event->type() == QEvent::Enter || event->type() == QEvent::Leave;
        return !isOfWindow && nativeWindowGets(event, *origin);
    }
    if (isKeyOfLibrary(receiver, event)) {
        reportKey(*static_cast<QKeyEvent*>(event), tickOfNow());
        return true;
    }
    return receiver == window.data() && windowWidgetGets(event);
}

// In the coordinates of the watched window. A QWindow without a widget, which an application embeds, keeps its input.
std::optional<QPoint> InputFilter::originOfNativeChild(const QObject* receiver) const {
    if (!receiver->isWindowType())
        return std::nullopt;
    const auto* const native = static_cast<const QWindow*>(receiver);
    const QWidget* const widget = native->handle() ? QWidget::find(native->winId()) : nullptr;
    if (!widget || widget->isWindow() || widget->window() != window)
        return std::nullopt;
    return widget->mapTo(window, QPoint());
}

InputFilter::MouseInput InputFilter::mouseOf(const QEvent* event, const QPoint& origin) {
    const auto& mouse = *static_cast<const QMouseEvent*>(event);
    return {mouse.pos() + origin, mouse.button(), mouse.buttons()};
}

bool InputFilter::nativeWindowGets(QEvent* event, const QPoint& origin) {
    // The clock must not know of an event without a time, such as enter, leave or a context menu: what the operator did
    // before, and what is seen only after it, would lose its own time.
    const unsigned int tick =
        isTimed(event->type()) ? tickOf(*static_cast<const QInputEvent*>(event)) : KXTick::getTickCount();
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease: return takeKey(*static_cast<QKeyEvent*>(event), tick);
    case QEvent::MouseButtonPress: pressMouse(mouseOf(event, origin), tick); return false;
    case QEvent::MouseButtonDblClick: doublePressMouse(mouseOf(event, origin), tick); return false;
    case QEvent::MouseButtonRelease: releaseMouse(mouseOf(event, origin), tick); return false;
    case QEvent::MouseMove: moveMouse(mouseOf(event, origin), tick); return false;
    case QEvent::Wheel: {
        const auto& turn = *static_cast<QWheelEvent*>(event);
        return takeWheel(turn, turn.position().toPoint() + origin, tick);
    }
    case QEvent::Enter: sendMouse(TOOLKIT_MOUSE_ENTER_EVENT, Qt::NoButton, tick); return false;
    case QEvent::Leave: sendMouse(TOOLKIT_MOUSE_EXIT_EVENT, Qt::NoButton, tick); return false;
    case QEvent::TouchCancel:
        // Qt will also release the left button, which stands for the touch. That release is not reported.
        escapeButtons(heldButtons, tick);
        return false;
    default: return false;
    }
}

bool InputFilter::windowWidgetGets(QEvent* event) {
    switch (event->type()) {
    case QEvent::WindowDeactivate:
    case QEvent::WindowBlocked:
    case QEvent::Hide: releaseAll(); break;
    default: break;
    }
    return false;
}

unsigned int InputFilter::tickOf(const QInputEvent& event) {
    const auto stamp = system.stampsInput ? static_cast<std::uint32_t>(event.timestamp()) : InputClock::noStamp;
    return clock.tickOf(stamp, KXTick::getTickCount());
}

unsigned int InputFilter::tickOfNow() {
    return clock.tickOf(InputClock::noStamp, KXTick::getTickCount());
}

bool InputFilter::takeKey(const QKeyEvent& event, unsigned int tick) {
    const bool endsReportedPress = event.type() == QEvent::KeyRelease && heldKeys.contains(keyOf(event));
    if (keysBelongToWidget() && !endsReportedPress) {
        if (event.type() == QEvent::KeyPress && !event.isAutoRepeat())
            endEarlyRelease(event);
        return false;
    }
    reportKey(event, tick);
    return true;
}

// Another modifier gives a key that is held another code. Its release must end the press that was reported.
int InputFilter::keyOf(const QKeyEvent& event) const {
    if (event.nativeScanCode() != 0)
        for (auto held = heldKeys.begin(); held != heldKeys.end(); ++held)
            if (held->scanCode == event.nativeScanCode())
                return held.key();
    return event.key();
}

void InputFilter::reportKey(const QKeyEvent& event, unsigned int tick) {
    const bool press = event.type() == QEvent::KeyPress;
    if (event.isAutoRepeat() || (press && provesAutoRepeat(event))) {
        reportAutoRepeat(event, tick);
        return;
    }
    const bool wasReleasedEarly = endEarlyRelease(event);
    if (press) {
        sendKey(TOOLKIT_KEY_PRESS_EVENT, event.key(), tick);
        heldKeys.insert(event.key(), {event.timestamp(), event.nativeScanCode()});
    } else if (mayBeAutoRepeat(event)) {
        suspectRelease(event, tick);
    } else if (!wasReleasedEarly) {
        const int osKeyCode = keyOf(event);
        sendKey(TOOLKIT_KEY_RELEASE_EVENT, osKeyCode, tick);
        heldKeys.remove(osKeyCode);
    }
}

// When the window loses its keys, the release of a held key is reported. The real release may still come here and
// must not be reported again. If it goes elsewhere, the next press of the key shows that.
// \return whether the key's release was reported already
bool InputFilter::endEarlyRelease(const QKeyEvent& event) {
    const auto held = heldKeys.find(keyOf(event));
    if (held == heldKeys.end() || !held->isReleasedEarly)
        return false;
    heldKeys.erase(held);
    return true;
}

void InputFilter::reportAutoRepeat(const QKeyEvent& event, unsigned int tick) {
    const bool press = event.type() == QEvent::KeyPress;
    if (press && provesAutoRepeat(event)) {
        const unsigned int releaseTick = suspectedRelease->tick;
        suspectedRelease.reset();
        suspicionTimer.stop();
        sendKey(TOOLKIT_KEY_AUTO_REPEAT_RELEASE_EVENT, keyOf(event), releaseTick);
    }
    sendKey(press ? TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT : TOOLKIT_KEY_AUTO_REPEAT_RELEASE_EVENT, keyOf(event),
            tick);
}

bool InputFilter::mayBeAutoRepeat(const QKeyEvent& release) const {
    if (!system.repeatsLookTyped)
        return false;
    const auto held = heldKeys.constFind(keyOf(release));
    // Keys from the library have no time and never repeat.
    return held != heldKeys.constEnd() && release.timestamp() != 0 &&
           release.timestamp() - held->windowSystemTime >= shortestRepeatDelayMs;
}

bool InputFilter::provesAutoRepeat(const QKeyEvent& press) const {
    return suspectedRelease && suspectedRelease->osKeyCode == keyOf(press) &&
           suspectedRelease->windowSystemTime == press.timestamp();
}

void InputFilter::suspectRelease(const QKeyEvent& release, unsigned int tick) {
    reportSuspectedRelease();
    suspectedRelease = SuspectedRelease{keyOf(release), release.timestamp(), tick, KXTick::getTickCount()};
    suspicionTimer.start();
}

void InputFilter::endSuspicion() {
    const unsigned int now = KXTick::getTickCount();
    if (suspectedRelease && now - suspectedRelease->waitingSince >= lateMs) {
        suspectedRelease->waitingSince = now;
        suspicionTimer.start();
        return;
    }
    reportSuspectedRelease();
}

void InputFilter::reportSuspectedRelease() {
    suspicionTimer.stop();
    const std::optional<SuspectedRelease> release = std::exchange(suspectedRelease, std::nullopt);
    if (!release)
        return;
    heldKeys.remove(release->osKeyCode);
    sendKey(TOOLKIT_KEY_RELEASE_EVENT, release->osKeyCode, release->tick);
}

bool InputFilter::widgetOwns(const QPoint& position, InputKind kind) const {
    const QWidget* const child = window->childAt(position);
    return ownsInput(child ? *child : *window, kind);
}

void InputFilter::pressMouse(const MouseInput& mouse, unsigned int tick) {
    // While one button is held outside the window, Qt also delivers presses of other buttons there.
    if (!window->rect().contains(mouse.position))
        return;
    // The release and the moves of this press are ignored too.
    if (widgetOwns(mouse.position, InputKind::Presses))
        return;
    heldButtons |= mouse.button;
    lastMovePosition = mouse.position;
    sendMouse(TOOLKIT_MOUSE_PRESS_EVENT, mouse.button, tick);
}

// The manager finds double presses itself and ignores the toolkit's. A native window gets the second press and
// then the double click; a widget gets the double click instead of the press. In both cases the second press must
// be reported once.
void InputFilter::doublePressMouse(const MouseInput& mouse, unsigned int tick) {
    if (heldButtons.testFlag(mouse.button))
        sendMouse(TOOLKIT_MOUSE_DOUBLE_PRESS_EVENT, mouse.button, tick);
    else
        pressMouse(mouse, tick);
}

void InputFilter::releaseMouse(const MouseInput& mouse, unsigned int tick) {
    if (!heldButtons.testFlag(mouse.button))
        return; // pressed elsewhere, or escaped already
    if (!window->rect().contains(mouse.position)) {
        escapeButtons(mouse.button, tick);
        return;
    }
    heldButtons &= ~Qt::MouseButtons(mouse.button);
    sendMouse(TOOLKIT_MOUSE_RELEASE_EVENT, mouse.button, tick);
}

void InputFilter::moveMouse(const MouseInput& mouse, unsigned int tick) {
    // A release can get lost, for example when another program grabs the pointer. The next move shows it.
    escapeButtons(heldButtons & ~mouse.buttons, tick);
    const bool movedEnough = (mouse.position - lastMovePosition).manhattanLength() >= moveDistance;
    if (heldButtons == Qt::NoButton || !movedEnough)
        return;
    lastMovePosition = mouse.position;
    const auto lowestHeld = static_cast<unsigned int>(heldButtons) & -static_cast<unsigned int>(heldButtons);
    sendMouse(TOOLKIT_MOUSE_MOVE_EVENT, static_cast<Qt::MouseButton>(lowestHeld), tick);
}

bool InputFilter::takeWheel(const QWheelEvent& event, const QPoint& position, unsigned int tick) {
    if (widgetOwns(position, InputKind::Wheel))
        return false;
    turnWheel(event, tick);
    return true;
}

void InputFilter::turnWheel(const QWheelEvent& event, unsigned int tick) {
    const int detents = wheelDetents.turn(event.angleDelta().y());
    if (detents == 0)
        return;
    KXToolkitEvent turn;
    turn.count = std::abs(detents);
    turn.keyCode = detents > 0 ? KX_KEY_UP : KX_KEY_DOWN;
    send(turn, TOOLKIT_WHEEL_EVENT, tick);
}

void InputFilter::releaseAll() {
    const bool isKeyHeld =
        std::any_of(heldKeys.cbegin(), heldKeys.cend(), [](const HeldKey& key) { return !key.isReleasedEarly; });
    if (heldButtons == Qt::NoButton && !isKeyHeld)
        return;
    const unsigned int tick = tickOfNow();
    escapeButtons(heldButtons, tick);
    releaseHeldKeys(tick);
}

void InputFilter::escapeButtons(Qt::MouseButtons buttons, unsigned int tick) {
    for (unsigned int bit = Qt::LeftButton; bit <= Qt::MaxMouseButton; bit <<= 1U) {
        const auto button = static_cast<Qt::MouseButton>(bit);
        if (!buttons.testFlag(button))
            continue;
        heldButtons &= ~Qt::MouseButtons(button);
        sendMouse(TOOLKIT_MOUSE_ESCAPE_EVENT, button, tick);
    }
}

void InputFilter::releaseHeldKeys(unsigned int tick) {
    reportSuspectedRelease();
    QList<int> released;
    for (auto held = heldKeys.begin(); held != heldKeys.end(); ++held)
        if (!std::exchange(held->isReleasedEarly, true))
            released.append(held.key());
    for (const int osKeyCode : released)
        sendKey(TOOLKIT_KEY_RELEASE_EVENT, osKeyCode, tick);
}

// What was held back comes first.
void InputFilter::send(KXToolkitEvent& event, int type, unsigned int tick) {
    reportSuspectedRelease();
    event.eventType = type;
    event.timeStamp = tick;
    report(event);
}

void InputFilter::sendKey(int type, int osKeyCode, unsigned int tick) {
    KXToolkitEvent event;
    event.osKeyCode = osKeyCode;
    send(event, type, tick);
}

void InputFilter::sendMouse(int type, Qt::MouseButton button, unsigned int tick) {
    KXToolkitEvent event;
    event.eventData[1] = static_cast<unsigned int>(button);
    send(event, type, tick);
}

} // namespace KX

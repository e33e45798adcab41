#pragma once

#include "events/KXEvent.h"
#include "terminal/WheelDetents.h"

#include <QHash>
#include <QObject>
#include <QPoint>
#include <QTimer>

#include <functional>
#include <optional>

class QKeyEvent;
class QMouseEvent;
class QWheelEvent;
class QWidget;

namespace Terminal {

/// The toolkit layer of the terminal: watches what Qt delivers to the window and reports the operator's input.
///
/// Everything is taken where Qt hands it to the native window, before any widget, so that each input is seen
/// once however many widgets it passes afterwards.
///
/// - Keys are reported and go no further: the application learns of them from the classified events, and an
///   arrow key does not scroll a list besides. Only while a widget that takes text has the focus, or a popup is
///   open, the keys are its own; the release of a key that was reported is reported even then. Key events that the library posts
///   to a window of the application (KXInputEventManager::generateKeyEvent) are reported like typed ones.
/// - Auto-repeat is reported as such, also where Qt takes it for releases and presses: X11 repeats a held key by
///   a release and a press of the same time, and Qt sees that they belong together only when it has got both by
///   then. So the release of a key held long enough to be repeated is reported \ref suspicionMs later, with its
///   own time stamp, or before whatever is reported next. On other systems two quick taps that a busy terminal
///   comes to see late look just like that, and stay taps.
/// - Mouse buttons are reported and passed on, so that widgets can react. Touches come as the left button. Moves
///   are reported while a button is down, every \ref moveDistance pixels, so that a finger at rest is silent.
/// - The wheel is the encoder wherever the pointer is, and goes no further: one report for each turn by whole
///   detents.
/// - What the mouse does to a SeparateDevice, a press from its beginning there to its end, is passed on and not
///   reported: the device reports it itself, and one press must not be two.
/// - A press that ends without a release inside the window ends as TOOLKIT_MOUSE_ESCAPE_EVENT: released outside,
///   touch cancelled, window hidden, blocked by a dialog or no longer active, or a release that got lost. Keys
///   that are down when the window stops being active are reported as released: their release goes elsewhere.
class ToolkitLayer : public QObject {
public:
    using Report = std::function<void(KX::KXToolkitEvent&)>;

    enum class Repeats {
        AreMarked,    ///< by the window system
        MayLookTyped, ///< as on X11
    };

    static constexpr int moveDistance = 10;
    static constexpr int shortestRepeatDelayMs = 100; ///< no keyboard is set to repeat a key sooner
    static constexpr int suspicionMs = 50;

    /// Starts to watch. \p window must outlive the layer; \p report is called on the toolkit's thread.
    ToolkitLayer(QWidget& window, Report report, Repeats repeats = repeatsOfPlatform());

    bool eventFilter(QObject* receiver, QEvent* event) override;

private:
    static Repeats repeatsOfPlatform();

    bool nativeWindowGets(QEvent* event);
    bool windowWidgetGets(QEvent* event);

    bool takeKey(const QKeyEvent& event);
    void reportKey(const QKeyEvent& event);
    void reportAutoRepeat(const QKeyEvent& event);
    bool mayBeAutoRepeat(const QKeyEvent& release) const;
    bool provesAutoRepeat(const QKeyEvent& press) const;
    void suspectRelease(const QKeyEvent& release);
    void reportSuspectedRelease();
    void pressMouse(const QMouseEvent& event);
    void doublePressMouse(const QMouseEvent& event);
    void releaseMouse(const QMouseEvent& event);
    void moveMouse(const QMouseEvent& event);
    bool takeWheel(const QWheelEvent& event);
    void turnWheel(const QWheelEvent& event);

    void escapeButtons(Qt::MouseButtons buttons);
    void releaseHeldKeys();

    void send(KX::KXToolkitEvent& event);
    void sendKey(int type, int osKeyCode);
    void sendKeyAt(unsigned int tick, int type, int osKeyCode);
    void sendMouse(int type, Qt::MouseButton button);

    QWidget& window;
    Report report;
    const Repeats repeats;
    // A release that may turn out to be half of an auto-repeat.
    struct SuspectedRelease {
        int osKeyCode;
        unsigned long windowSystemTime;
        unsigned int tick;
    };

    QHash<int, unsigned long> heldKeys; // with the window system's time of the press
    std::optional<SuspectedRelease> suspectedRelease;
    QTimer suspicionTimer;
    Qt::MouseButtons heldButtons = Qt::NoButton;
    QPoint lastMovePosition;
    WheelDetents wheelDetents;
};

} // namespace Terminal

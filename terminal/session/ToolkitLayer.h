#pragma once

#include "events/KXEvent.h"
#include "terminal/session/WheelDetents.h"

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

/// The toolkit layer of the terminal. It watches what Qt delivers to the window and reports the operator's input.
///
/// It takes each input where Qt hands it to the native window, before any widget. So each input is seen once,
/// however many widgets it passes afterwards.
///
/// - Keys are reported and stop here: the application gets them as classified events, and an arrow key must not
///   scroll a list as well. There is one exception: while a text widget has the focus or a popup is open, keys
///   belong to it. Even then the release of a reported key is reported. Key events that the library posts to a
///   window (KXInputEventManager::generateKeyEvent) are reported like typed ones.
/// - Auto-repeat is reported as such, even where Qt sees releases and presses. X11 repeats a held key by a release
///   and a press with the same time. Qt recognises the pair only when both have arrived. So the release of a key
///   that was held long enough to repeat is reported \ref suspicionMs later with its own time stamp, or before the
///   next report. On other systems two quick taps look the same when a busy terminal sees them late; they stay
///   taps.
/// - Mouse buttons are reported and passed on, so that widgets can react. Touches arrive as the left button. Moves
///   are reported only while a button is down, every \ref moveDistance pixels, so a resting finger is silent.
/// - The wheel is the encoder wherever the pointer is, and stops here. Each turn by whole detents is one report.
/// - Presses on a SeparateDevice are passed on from beginning to end and not reported. The device reports them
///   itself, and one press must not count twice.
/// - A press that ends without a release inside the window ends as TOOLKIT_MOUSE_ESCAPE_EVENT: released outside,
///   touch cancelled, window hidden, blocked by a dialog or inactive, or a lost release. Keys that are down when
///   the window becomes inactive are reported as released, because their release goes elsewhere.
class ToolkitLayer : public QObject {
public:
    using Report = std::function<void(KX::KXToolkitEvent&)>;

    enum class Repeats {
        AreMarked,    ///< by the window system
        MayLookTyped, ///< as on X11
    };

    static constexpr int moveDistance = 10;
    static constexpr int shortestRepeatDelayMs = 100; ///< no keyboard repeats a key sooner
    static constexpr int suspicionMs = 50;

    /// Starts to watch. \p window must outlive the layer. \p report is called on the toolkit's thread.
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
    // A release that may be the first half of an auto-repeat.
    struct SuspectedRelease {
        int osKeyCode;
        unsigned long windowSystemTime;
        unsigned int tick;
    };

    QHash<int, unsigned long> heldKeys; // with the window system's time of each press
    std::optional<SuspectedRelease> suspectedRelease;
    QTimer suspicionTimer;
    Qt::MouseButtons heldButtons = Qt::NoButton;
    QPoint lastMovePosition;
    WheelDetents wheelDetents;
};

} // namespace Terminal

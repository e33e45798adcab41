#pragma once

#include "events/KXEvent.h"
#include "toolkit/KXWheelDetents.h"

#include <QHash>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <functional>
#include <optional>

class QInputEvent;
class QKeyEvent;
class QWheelEvent;
class QWidget;

namespace KX {

class InputClock;
enum class InputKind;

/// What the input of a window system is like.
struct WindowSystem {
    bool stampsInput;      ///< an event has the time at which the operator made it
    bool repeatsLookTyped; ///< a held key looks like releases and presses, as on X11

    /// \param name  as QGuiApplication::platformName has it
    static WindowSystem ofPlatform(const QString& name);
};

/// Watches what Qt delivers to a window and reports the operator's input, as KXToolkitLayer describes.
///
/// It takes each input where Qt hands it to the native window, before any widget. So each input is seen once,
/// however many widgets it passes afterwards. A native child widget (Qt::WA_NativeWindow) has a native window of its
/// own inside that one.
///
/// X11 repeats a held key by a release and a press with the same time. Qt recognises the pair only when both have
/// arrived. So the release of a key that was held long enough to repeat is reported \ref suspicionMs later with its
/// own time stamp, or before the next report. When even the timer was late, the machine was busy: the press may not be
/// read yet, so the release waits once more. On other systems two quick taps look the same when a busy application
/// sees them late; they stay taps.
class InputFilter : public QObject {
public:
    using Report = std::function<void(KXToolkitEvent&)>;

    static constexpr int moveDistance = 10;
    static constexpr int shortestRepeatDelayMs = 100; ///< no keyboard repeats a key sooner
    static constexpr int suspicionMs = 50;
    static constexpr int lateMs = 2 * suspicionMs; ///< a timer of suspicionMs that took so long was late

    /// \p clock must outlive the filter.
    InputFilter(QWidget& window, Report report, WindowSystem system, InputClock& clock);

    void setReport(Report report);

    bool eventFilter(QObject* receiver, QEvent* event) override;

private:
    struct MouseInput {
        QPoint position; // in the watched window
        Qt::MouseButton button;
        Qt::MouseButtons buttons;
    };

    static MouseInput mouseOf(const QEvent* event, const QPoint& origin);

    bool nativeWindowGets(QEvent* event, const QPoint& origin);
    std::optional<QPoint> originOfNativeChild(const QObject* receiver) const;
    bool windowWidgetGets(QEvent* event);

    unsigned int tickOf(const QInputEvent& event);
    unsigned int tickOfNow();

    bool takeKey(const QKeyEvent& event, unsigned int tick);
    int keyOf(const QKeyEvent& event) const;
    void reportKey(const QKeyEvent& event, unsigned int tick);
    bool endEarlyRelease(const QKeyEvent& event);
    void reportAutoRepeat(const QKeyEvent& event, unsigned int tick);
    bool mayBeAutoRepeat(const QKeyEvent& release) const;
    bool provesAutoRepeat(const QKeyEvent& press) const;
    void suspectRelease(const QKeyEvent& release, unsigned int tick);
    void endSuspicion();
    void reportSuspectedRelease();
    bool widgetOwns(const QPoint& position, InputKind kind) const;
    void pressMouse(const MouseInput& mouse, unsigned int tick);
    void doublePressMouse(const MouseInput& mouse, unsigned int tick);
    void releaseMouse(const MouseInput& mouse, unsigned int tick);
    void moveMouse(const MouseInput& mouse, unsigned int tick);
    bool takeWheel(const QWheelEvent& event, const QPoint& position, unsigned int tick);
    void turnWheel(const QWheelEvent& event, unsigned int tick);

    void releaseAll();
    void escapeButtons(Qt::MouseButtons buttons, unsigned int tick);
    void releaseHeldKeys(unsigned int tick);

    void send(KXToolkitEvent& event, int type, unsigned int tick);
    void sendKey(int type, int osKeyCode, unsigned int tick);
    void sendMouse(int type, Qt::MouseButton button, unsigned int tick);

    struct HeldKey {
        quint64 windowSystemTime;
        quint32 scanCode;             // of the physical key; 0: unknown
        bool isReleasedEarly = false; // its release is reported, and the real one may still come
    };

    // A release that may be the first half of an auto-repeat.
    struct SuspectedRelease {
        int osKeyCode;
        quint64 windowSystemTime;
        unsigned int tick;
        unsigned int waitingSince; // as a tick
    };

    const QPointer<QWidget> window;
    Report report;
    const WindowSystem system;
    InputClock& clock;
    QHash<int, HeldKey> heldKeys; // by the code of the press
    std::optional<SuspectedRelease> suspectedRelease;
    QTimer suspicionTimer;
    Qt::MouseButtons heldButtons = Qt::NoButton;
    QPoint lastMovePosition;
    KXWheelDetents wheelDetents;
};

} // namespace KX

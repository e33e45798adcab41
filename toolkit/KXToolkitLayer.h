#pragma once

#include "platform/KXExport.h"

#include <QObject>

#include <functional>
#include <memory>

class QWidget;

namespace KX {

class InputFilter;
class KXToolkitEvent;

/// Reports what the operator does in a window to the input event manager. Each window that takes input needs its
/// own layer.
///
///     KX::KXInputEventManager::createInstance();
///     MainWindow window;
///     KX::KXToolkitLayer layer(window);
///     KX::KXEventNotifier notifier; // the classified events come back here
///
/// What it reports, as KXToolkitEvents:
///
/// - Keys, with Qt's key in \c osKeyCode. They stop here: the application gets them as classified events, and an
///   arrow key must not scroll a list as well. A text widget with the focus, an open popup and a widget of
///   \ref leaveKeysTo keep their keys. But the release of a key whose press was reported is always reported. Keys
///   that the library posts (KXInputEventManager::generateKeyEvent) are reported like typed ones, whichever window
///   of the application they go to.
/// - Auto-repeat as such, also on X11, where a held key looks like releases and presses. There the release of a key
///   that was held for 100 ms or more is reported up to 50 ms later, or 150 ms on a busy machine, with its own time
///   stamp. The manager takes the key for held until then. So a press that ends that much before the long-press
///   duration may still become a long press.
/// - Mouse buttons, with the button in \c eventData[1]. They are passed on, so that widgets can react. A touch is
///   the left button. Moves are reported while a button is down, every 10 pixels.
/// - The wheel, wherever the pointer is, by whole detents: their number in \c count and KX_KEY_UP or KX_KEY_DOWN in
///   \c keyCode. It stops here.
/// - The pointer that enters or leaves the window.
///
/// Input of native child widgets (Qt::WA_NativeWindow) is reported like that of other children. A QWindow without a
/// widget, as QWidget::createWindowContainer embeds it, keeps its input.
///
/// A press that does not end with a release inside the window ends with TOOLKIT_MOUSE_ESCAPE_EVENT: it was released
/// outside, the touch was cancelled, the release got lost, or the window was hidden, destroyed, blocked by a dialog
/// or no longer active. Keys that are down when the window is hidden, destroyed, blocked or no longer active are
/// reported as released, because their releases go elsewhere. If such a release comes here all the same, it is not
/// reported again.
///
/// The time stamp says when the operator made the input, even if the application was busy and saw it later. On X11
/// and Wayland (QGuiApplication::platformName is "xcb" or begins with "wayland") it comes from the window system's
/// time. On other platforms Qt itself stamps the input when it sees it, so the time stamp is the tick of the
/// report. That is also the time stamp of reports that no input caused, such as the release of a key when the
/// window is no longer active, of an enter or leave, and of the keys that the library posts. Time stamps never
/// go back, except after an enter or leave, which the manager ignores.
///
/// The window system's clock may differ from that of the tick, as on the display of another computer. A clock that is
/// ahead or more than 60 s behind is found out at the first input. A clock that is less behind looks at first like
/// an application that is late: time stamps are that much too early, and a press becomes long that much too soon.
/// That lasts for ten inputs and 2 s, or for 60 s of input where a network delays inputs unequally. A clock that is at
/// most 100 ms behind, or 1 s over such a network, stays unnoticed.
///
/// Make the layer after the QApplication, and use it on the application's thread, where it also reports. A layer
/// whose window was destroyed reports nothing. When the layer is destroyed, it does not release what is down.
class KX_TOOLKIT_API KXToolkitLayer : public QObject {
    Q_OBJECT

public:
    /// Watches \p window, a top-level widget. Reports go to KXInputEventManager::toolkitEventOccurred of the manager
    /// that exists at that moment; without a manager they are dropped.
    explicit KXToolkitLayer(QWidget& window);

    ~KXToolkitLayer() override;

    /// Hands each report to \p report instead of the manager, for a program that inspects or replaces the
    /// operator's input. An empty function stands for the manager again. \p report may pass the event on to the
    /// manager, which changes it. It must not call setReport, destroy the layer or run an event loop.
    void setReport(std::function<void(KXToolkitEvent&)> report);

    // Parts of the window may handle input themselves, for example a drawn keypad that sends what is pressed on it
    // another way. Such input is passed on to Qt and not reported. The marks apply to the widget and its children,
    // in each window with a layer. False takes a mark back.

    /// Presses that begin on \p widget, with all that follows until the button is released.
    static void leavePressesTo(QWidget& widget, bool leave = true);

    /// The wheel over \p widget. KXWheelDetents counts its detents.
    static void leaveWheelTo(QWidget& widget, bool leave = true);

    /// Keys while \p widget has the focus. Widgets with the attribute Qt::WA_InputMethodEnabled, as those for text,
    /// keep their keys anyway.
    static void leaveKeysTo(QWidget& widget, bool leave = true);

private:
    const std::unique_ptr<InputFilter> filter;
};

} // namespace KX

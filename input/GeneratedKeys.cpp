// Keys that the library generates: Qt key events for the active window.
//
// Only the application's thread knows which window is active, and may delete it at any time. A key that another
// thread generates goes to that thread as a request, and becomes a key event there.

#include "input/KXInputEventManager.h"

#include "events/DiagnosticLine.h"
#include "events/KXEventType.h"
#include "input/RunStep.h"
#include "platform/KXLocks.h"

#include <QApplication>
#include <QKeyEvent>
#include <QString>
#include <QThread>
#include <QWidget>

#include <atomic>
#include <iostream>
#include <memory>
#include <utility>

namespace KX {

namespace {

QEvent::Type qtTypeOf(int eventType) {
    const bool isPress = eventType == KEY_PRESS_EVENT || eventType == ENCODER_MOVE_EVENT;
    return isPress ? QEvent::KeyPress : QEvent::KeyRelease;
}

QEvent::Type requestType() {
    static const int type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
}

struct KeyRequest : QEvent {
    explicit KeyRequest(const KXInputEvent& requestedKey) : QEvent(requestType()), key(requestedKey) {}

    const KXInputEvent key;
};

// The calling thread is that of an application with windows.
thread_local bool mayUseWindows = false;

} // namespace

/// Takes the requests, on the application's thread.
class KX_LOCAL KXInputEventManager::KeyRequests : public QObject {
public:
    /// \return false when there is no application with windows
    static bool add(const KXInputEvent& key);

    /// Takes what other threads requested before now, so that keys keep their order. On the application's thread.
    static void takeWaiting();

    bool event(QEvent* event) override;

private:
    static void open();
    static void close();

    /// When the process exits, Qt ends after this library. From then on nothing is posted.
    struct ProcessEnd {
        ~ProcessEnd() {
            const KXLockGuard lock(mutex);
            isOver = true;
        }
    };

    // Locked while a request is posted: the application does not end meanwhile.
    inline static KXStdMutex mutex;
    inline static bool isOver KX_GUARDED_BY(mutex) = false;
    // Changes on the application's thread only.
    inline static KeyRequests* receiver KX_GUARDED_BY(mutex) = nullptr;
    inline static std::atomic<int> waiting{0}; // posted and not yet taken; each change passes a request on
    inline static const ProcessEnd processEnd;

    // Qt calls it for each application that is made, or now if there is one already.
    inline static const bool isKnownToQt = (qAddPreRoutine(&open), true);
};

void KXInputEventManager::KeyRequests::open() {
    const auto* const application = qobject_cast<QApplication*>(QCoreApplication::instance());
    if (!application)
        return;
    auto* const opened = new KeyRequests;
    opened->moveToThread(application->thread()); // a program may load this library on another one
    mayUseWindows = opened->thread() == QThread::currentThread();
    qAddPostRoutine(&close);
    const KXLockGuard lock(mutex);
    receiver = opened;
}

void KXInputEventManager::KeyRequests::close() {
    KeyRequests* closed = nullptr;
    {
        const KXLockGuard lock(mutex);
        closed = std::exchange(receiver, nullptr);
    }
    // A key is reported if no window is active any more.
    QCoreApplication::sendPostedEvents(closed);
    delete closed;
    mayUseWindows = false;
}

bool KXInputEventManager::KeyRequests::add(const KXInputEvent& key) {
    const KXLockGuard lock(mutex);
    if (!receiver || isOver)
        return false;
    auto request = std::make_unique<KeyRequest>(key);
    ++waiting;
    QCoreApplication::postEvent(receiver, request.release());
    return true;
}

// Only this thread changes the receiver, so it reads it without the lock.
void KXInputEventManager::KeyRequests::takeWaiting() KX_NO_THREAD_SAFETY_ANALYSIS {
    if (waiting > 0)
        QCoreApplication::sendPostedEvents(receiver, requestType());
}

bool KXInputEventManager::KeyRequests::event(QEvent* event) {
    if (event->type() != requestType())
        return QObject::event(event);
    --waiting;
    mayUseWindows = true; // its events come on the application's thread
    runStep("post a generated key", [&] { postKey(static_cast<KeyRequest*>(event)->key); });
    return true;
}

void KXInputEventManager::generateKeyEvent(KXInputEvent event) {
    if (mayUseWindows)
        KeyRequests::takeWaiting();
    else if (KeyRequests::add(event))
        return;
    postKey(event);
}

void KXInputEventManager::postKey(const KXInputEvent& event) {
    // An unknown key posts a null event, which crashes Qt. Applications must check a key layout before use; a key
    // without effect would hide a missing check.
    QKeyEvent* keyEvent = nullptr;
    if (const auto key = toolkitCodeOf(event.keyCode))
        keyEvent = new QKeyEvent(qtTypeOf(event.eventType), *key, Qt::NoModifier, QString(), false, 1);

    const bool isAllowed = mayUseWindows || !QCoreApplication::instance();
    QWidget* const window = isAllowed ? QApplication::activeWindow() : nullptr;
    if (!window) {
        // The Qt event is not freed. It does not happen while a window is active.
        writeLine(std::cerr,
                  {"KXInputEventManager::generateKeyEvent(): Failed to find the active window to send the "
                   "event to."});
        return;
    }
    QCoreApplication::postEvent(window, keyEvent, Qt::NormalEventPriority);
}

} // namespace KX

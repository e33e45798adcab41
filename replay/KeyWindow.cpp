#include "replay/KeyWindow.h"

#include <QApplication>
#include <QKeyEvent>

#include <utility>

namespace KX {

KeyWindow::KeyWindow() {
    QApplication::setActiveWindow(this);
}

void KeyWindow::takeKeys(unsigned int tick, const std::function<void(KXToolkitEvent&)>& take) {
    QCoreApplication::sendPostedEvents(this);
    for (const Key& key : std::exchange(keys, {})) {
        KXToolkitEvent event;
        event.eventType = key.eventType;
        event.osKeyCode = key.osKeyCode;
        event.timeStamp = tick;
        take(event);
    }
}

void KeyWindow::dropKeys() {
    QCoreApplication::removePostedEvents(this);
}

bool KeyWindow::event(QEvent* event) {
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease)
        return QWidget::event(event);
    const bool isPress = event->type() == QEvent::KeyPress;
    keys.push_back({isPress ? TOOLKIT_KEY_PRESS_EVENT : TOOLKIT_KEY_RELEASE_EVENT,
                    static_cast<const QKeyEvent*>(event)->key()});
    return true;
}

} // namespace KX

#include "replay/KeyWindow.h"

#include <QApplication>
#include <QKeyEvent>

#include <utility>

namespace KX {

KeyWindow::KeyWindow() {
    QApplication::setActiveWindow(this);
}

std::vector<KXToolkitEvent> KeyWindow::takeKeys(unsigned int tick) {
    QCoreApplication::sendPostedEvents(this);
    for (KXToolkitEvent& key : keys)
        key.timeStamp = tick;
    return std::exchange(keys, {});
}

void KeyWindow::dropKeys() {
    QCoreApplication::removePostedEvents(this);
}

bool KeyWindow::event(QEvent* event) {
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease)
        return QWidget::event(event);
    KXToolkitEvent key;
    key.eventType = event->type() == QEvent::KeyPress ? TOOLKIT_KEY_PRESS_EVENT : TOOLKIT_KEY_RELEASE_EVENT;
    key.osKeyCode = static_cast<const QKeyEvent*>(event)->key();
    keys.push_back(key);
    return true;
}

} // namespace KX

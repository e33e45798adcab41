#include "tools/kxreplay/KeyWindow.h"

#include <QKeyEvent>

#include <cstdio>
#include <utility>

namespace Replay {

namespace {

// Qt's warnings are about a desktop that is not there. Its reason for ending the program must be shown.
void tellTheWorst(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text) {
    if (type == QtFatalMsg)
        std::fprintf(stderr, "kxreplay: %s\n", text.toLocal8Bit().constData());
}

int& withoutDisplay(int& argumentCount) {
    qInstallMessageHandler(&tellTheWorst);
    qputenv("QT_QPA_PLATFORM", "offscreen;minimal");
    return argumentCount;
}

} // namespace

OffscreenToolkit::OffscreenToolkit() : application(withoutDisplay(argumentCount), arguments) {}

KeyWindow::KeyWindow() {
    QApplication::setActiveWindow(this);
}

std::vector<KX::KXToolkitEvent> KeyWindow::takeKeys(unsigned int tick) {
    QCoreApplication::sendPostedEvents(this);
    for (KX::KXToolkitEvent& key : keys)
        key.timeStamp = tick;
    return std::exchange(keys, {});
}

void KeyWindow::dropKeys() {
    QCoreApplication::removePostedEvents(this);
}

bool KeyWindow::event(QEvent* event) {
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease)
        return QWidget::event(event);
    KX::KXToolkitEvent key;
    key.eventType =
        event->type() == QEvent::KeyPress ? KX::TOOLKIT_KEY_PRESS_EVENT : KX::TOOLKIT_KEY_RELEASE_EVENT;
    key.osKeyCode = static_cast<const QKeyEvent*>(event)->key();
    keys.push_back(key);
    return true;
}

} // namespace Replay

// An application that records itself: one object more. kxreplay plays the file and prints the same events.
//
//     record_my_application day.kxr
//     kxreplay day.kxr

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "recording/KXEventLine.h"
#include "recording/KXFunctionKeys.h"
#include "recording/KXKeyLayout.h"
#include "recording/KXSessionRecorder.h"
#include "toolkit/KXEventNotifier.h"
#include "toolkit/KXToolkitLayer.h"

#include <QApplication>
#include <QWidget>

#include <cstdio>
#include <memory>

namespace {

struct DeleteManager {
    void operator()(KX::KXInputEventManager* /*manager*/) const { KX::KXInputEventManager::deleteInstance(); }
};

// The application's own doing: it prints events. F5 and F6 choose how quick a double press has to be, F10 ends it.
void take(const KX::KXInputEvent& event) {
    const KX::KXEventLine line(event); // as kxreplay prints it
    std::fwrite(line.textWithLineEnd().data(), 1, line.textWithLineEnd().size(), stdout);
    std::fflush(stdout);
    auto* const manager = KX::KXInputEventManager::getInstance();
    if (event.eventType != KX::KEY_PRESS_EVENT && event.eventType != KX::KEY_DOUBLE_PRESS_EVENT)
        return;
    switch (event.osKeyCode) {
    case Qt::Key_F5: manager->setDoubleKeyPressDuration(150); break;
    case Qt::Key_F6: manager->setDoubleKeyPressDuration(450); break;
    case Qt::Key_F10: QApplication::quit(); break;
    default: break;
    }
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "Usage: record_my_application FILE\n");
        return 2;
    }
    KX::KXSessionRecorder recorder; // the object
    if (!recorder.start(argv[1])) {
        std::fprintf(stderr, "%s\n", recorder.problem().c_str());
        return 2;
    }
    const std::unique_ptr<KX::KXInputEventManager, DeleteManager> manager(
        KX::KXInputEventManager::createInstance());
    QWidget window;
    window.setWindowTitle("record_my_application");
    const KX::KXToolkitLayer layer(window);
    KX::KXEventNotifier notifier;
    QObject::connect(&notifier, &KX::KXEventNotifier::eventOccurred, take);
    manager->setKeyMapping(KX::KeyLayout::functionKeys()); // which the keypad has, too
    manager->setCANRemoteOptions(KX::KeyLayout::builtIn());
    window.show();
    window.activateWindow();
    QApplication::exec();

    recorder.holdWorker(); // no event comes behind those that are printed now
    notifier.takeWaitingEvents();
    return recorder.stop() ? 0 : 1;
}

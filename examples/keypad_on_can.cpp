// A keypad on the CAN bus. KX_CAN_BUS_0 names the bus: can0, or unix:PATH for a virtual one.
//
//     KX_CAN_BUS_0=unix:/tmp/bus keypad_on_can keypad.txt
//     kxcan send unix:/tmp/bus 18FF0001#8000000000000000 18FF0001#0000000000000000

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "recording/KXFunctionKeys.h"
#include "recording/KXKeyLayout.h"
#include "toolkit/KXEventNotifier.h"
#include "toolkit/KXToolkitLayer.h"

#include <QApplication>
#include <QWidget>

#include <cstdio>
#include <stdexcept>

namespace {

// A line of the file: key 1 code 0 byte 0 bit 0 id 18FF0001
KX::CANRemoteOptions readLayout(int argc, char** argv) {
    if (argc < 2)
        return KX::KeyLayout::builtIn();
    return KX::KeyLayout::readFile(argv[1], *KX::KXInputEventManager::getKXtoOSCodeMap());
}

void print(const KX::KXInputEvent& event) {
    std::printf("%s key=%d value=%d\n", KX::translateEventTypeToString(event.eventType).c_str(), event.keyCode,
                event.value);
    std::fflush(stdout);
}

int run(int argc, char** argv) {
    auto* const manager = KX::KXInputEventManager::createInstance();
    manager->setKeyMapping(KX::KeyLayout::functionKeys());
    // The keys of the keypad arrive as key events of the active window.
    QWidget window;
    window.setWindowTitle("keypad_on_can");
    const KX::KXToolkitLayer layer(window);
    const KX::KXEventNotifier notifier;
    QObject::connect(&notifier, &KX::KXEventNotifier::eventOccurred, print);
    window.show();
    window.activateWindow();
    manager->setCANRemoteOptions(readLayout(argc, argv)); // from now on the bus is read
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    int status = 2;
    try {
        status = run(argc, argv);
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    KX::KXInputEventManager::deleteInstance();
    return status;
}

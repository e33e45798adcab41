// A window of Qt. Press a key twice, hold one for two seconds, click, turn the wheel.

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "toolkit/KXEventNotifier.h"
#include "toolkit/KXToolkitLayer.h"

#include <QApplication>
#include <QLabel>

#include <cstdio>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    KX::KXInputEventManager::createInstance();
    {
        QLabel window("Press a key");
        window.setWindowTitle("qt_window");
        window.setAlignment(Qt::AlignCenter);
        window.resize(480, 240);
        KX::KXToolkitLayer layer(window); // what the operator does goes in
        KX::KXEventNotifier notifier;     // what it was comes out
        QObject::connect(&notifier, &KX::KXEventNotifier::eventOccurred, [&](const KX::KXInputEvent& event) {
            const std::string name = KX::translateEventTypeToString(event.eventType);
            window.setText(QString::fromStdString(name));
            std::printf("%s key=%d\n", name.c_str(), event.keyCode);
            std::fflush(stdout);
        });
        window.show();
        QApplication::exec();
    }
    KX::KXInputEventManager::deleteInstance();
}

// A window whose thread blocks on demand, for test_busy_window.py. Usage: busy_window RECORDING
//
// A child at 300, 200 with a size of 80, 80 has a native window of its own.
//
// Standard input: "block MS" blocks the thread for so long, "end" ends the program. Standard output: "ready",
// "blocked TICK" and "free TICK", and each classified event as "NAME TIMESTAMP KEY BUTTON".

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"
#include "recording/KXSessionRecorder.h"
#include "toolkit/KXEventNotifier.h"
#include "toolkit/KXToolkitLayer.h"

#include <QApplication>
#include <QSocketNotifier>
#include <QTimer>
#include <QWidget>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

void print(const KX::KXInputEvent& event) {
    std::printf("%s %u %d %u\n", KX::translateEventTypeToString(event.eventType).c_str(), event.timeStamp,
                event.keyCode, event.eventData[1]);
    std::fflush(stdout);
}

void tell(const char* what) {
    std::printf("%s %u\n", what, KX::KXTick::getTickCount());
    std::fflush(stdout);
}

void obey(const std::string& line) {
    unsigned int ms = 0;
    if (std::sscanf(line.c_str(), "block %u", &ms) != 1) {
        QCoreApplication::quit();
        return;
    }
    tell("blocked");
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    tell("free");
}

// Lines come one at a time: the test waits for the answer.
void readLine() {
    char text[64];
    const ssize_t length = read(STDIN_FILENO, text, sizeof text);
    obey(length > 0 ? std::string(text, static_cast<std::size_t>(length)) : std::string());
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    KX::KXSessionRecorder recorder;
    if (argc != 2 || !recorder.start(argv[1])) {
        std::fprintf(stderr, "nothing is recorded: %s\n", recorder.problem().c_str());
        return 2;
    }
    bool isRecorded = false;
    KX::KXInputEventManager::createInstance();
    {
        QWidget window;
        window.setWindowTitle(QStringLiteral("busy window"));
        window.resize(400, 300);
        QWidget nativeChild(&window);
        nativeChild.setGeometry(300, 200, 80, 80);
        nativeChild.setAttribute(Qt::WA_NativeWindow);
        const KX::KXToolkitLayer layer(window);
        KX::KXEventNotifier notifier;
        QObject::connect(&notifier, &KX::KXEventNotifier::eventOccurred, print);
        const QSocketNotifier commands(STDIN_FILENO, QSocketNotifier::Read);
        QObject::connect(&commands, &QSocketNotifier::activated, readLine);
        window.show();
        QTimer::singleShot(0, [] { tell("ready"); });
        QCoreApplication::exec();
        recorder.holdWorker(); // no event comes behind those that are printed now
        notifier.takeWaitingEvents();
        isRecorded = recorder.stop();
    }
    KX::KXInputEventManager::deleteInstance();
    return isRecorded ? 0 : 1;
}

#include "terminal/Terminal.h"

#include "actions/KXActionQueue.h"
#include "input/KXInputEventManager.h"
#include "terminal/ActionDesk.h"
#include "terminal/ActionPanel.h"
#include "terminal/DemoSession.h"
#include "terminal/DisplayPace.h"
#include "terminal/EventModel.h"
#include "terminal/EventPrinter.h"
#include "terminal/EventPump.h"
#include "terminal/InputSettings.h"
#include "terminal/KeyCodes.h"
#include "terminal/KeypadBus.h"
#include "terminal/KeypadPanel.h"
#include "terminal/LibrarySettings.h"
#include "terminal/MainWindow.h"
#include "terminal/SoftKeyBar.h"
#include "terminal/TerminationSignals.h"
#include "terminal/Theme.h"
#include "terminal/ToolkitLayer.h"
#include "tools/keylayout/KeyLayout.h"

#include <QApplication>
#include <QImage>
#include <QImageWriter>
#include <QPixmap>
#include <QTimer>

#include <cstdio>
#include <exception>
#include <memory>

namespace {

struct DeleteManager {
    void operator()(KX::KXInputEventManager* /*manager*/) const {
        KX::KXInputEventManager::deleteInstance();
    }
};
using Manager = std::unique_ptr<KX::KXInputEventManager, DeleteManager>;

struct ReleaseActions {
    void operator()(KX::KXActionQueue* /*queue*/) const {
        KX::KXActionQueue::release();
    }
};
using ActionQueue = std::unique_ptr<KX::KXActionQueue, ReleaseActions>;

// Members are destroyed from the last to the first: input ends before the pump, then the manager's thread, which
// posts the keypad's keys to the window. The queue of actions goes after all that posts to it, and before them.
class Terminal {
public:
    explicit Terminal(const CommandLine& settings);

    int run();

private:
    void openKeypad();
    void connectParts();
    void takeReport(KX::KXToolkitEvent& event);
    void connectActions();
    void scheduleEnd();
    int writePicture();

    const CommandLine& settings;
    TerminationSignals terminationSignals;
    KeypadBus bus;
    EventPrinter printer;
    EventModel model;
    InputSettings inputSettings;
    MainWindow window;
    ActionDesk desk;
    ActionQueue actionQueue;
    Manager manager;
    DisplayPace pace;
    EventPump pump;
    ToolkitLayer toolkitLayer;
    std::unique_ptr<DemoSession> demo;
};

Terminal::Terminal(const CommandLine& commandLine)
    : settings(commandLine), bus(settings.canBus), printer(stdout), inputSettings(applyToLibrary),
      window(model, inputSettings), actionQueue(KX::KXActionQueue::create()),
      manager(KX::KXInputEventManager::createInstance()), pump(*manager),
      toolkitLayer(window, [this](KX::KXToolkitEvent& event) { takeReport(event); }) {
    manager->setKeyMapping(KeyCodes::functionKeys());
    openKeypad();
    connectParts();
    connectActions();
}

void Terminal::takeReport(KX::KXToolkitEvent& event) {
    const KX::KXToolkitEvent asReported = event;
    manager->toolkitEventOccurred(event);
    window.takeReport(asReported);
}

KX::CANRemoteOptions readLayout(const QString& file) {
    const KeyLayout::ToolkitKeys& toolkitKeys = *KX::KXInputEventManager::getKXtoOSCodeMap();
    if (file.isEmpty())
        return KeyLayout::builtIn();
    try {
        return KeyLayout::readFile(file.toLocal8Bit().toStdString(), toolkitKeys);
    } catch (const std::runtime_error& error) {
        throw SettingsError(error.what());
    }
}

void Terminal::openKeypad() {
    const KX::CANRemoteOptions layout = readLayout(settings.keypadFile);
    if (const auto problem = KeyLayout::check(layout, *KX::KXInputEventManager::getKXtoOSCodeMap()))
        throw SettingsError("the layout of the keypad: " + problem->text);
    KeypadPanel& keypad = window.keypad();
    keypad.setLayoutOfKeys(layout);
    manager->setCANRemoteOptions(layout);
    bus.connectToListener();
    QObject::connect(&keypad, &KeypadPanel::frameChanged, &keypad, [this, &keypad](const KX::KXCANMessage& frame) {
        keypad.showFault(bus.send(frame).value_or(QString()));
    });
}

void Terminal::connectActions() {
    ActionPanel& panel = window.actions();
    QObject::connect(&pump, &EventPump::eventsTaken, &desk, &ActionDesk::takeEvents);
    QObject::connect(&window.softKeyBar(), &SoftKeyBar::keyWentDown, &desk, &ActionDesk::softKeyWentDown);
    QObject::connect(&panel, &ActionPanel::loopRequested, &desk, &ActionDesk::startLoop);
    panel.watch(desk);
}

void Terminal::connectParts() {
    QObject::connect(&pump, &EventPump::eventsTaken, &pace, &DisplayPace::take);
    QObject::connect(&pace, &DisplayPace::due, &model, &EventModel::append);
    if (settings.print)
        QObject::connect(&pump, &EventPump::eventsTaken, &pump,
                         [this](const ClassifiedEvents& events) { printer.print(events); });
    QObject::connect(&terminationSignals, &TerminationSignals::terminationRequested, qApp,
                     &QCoreApplication::quit);
}

void Terminal::scheduleEnd() {
    if (settings.exitAfterMs)
        QTimer::singleShot(*settings.exitAfterMs, Qt::PreciseTimer, qApp, &QCoreApplication::quit);
    if (!settings.demo)
        return;
    demo = std::make_unique<DemoSession>(window);
    QObject::connect(demo.get(), &DemoSession::finished, qApp, &QCoreApplication::quit);
    demo->start();
}

int Terminal::run() {
    window.show();
    // The keypad's keys go to the active window, also where no window manager makes one active.
    window.activateWindow();
    scheduleEnd();
    QCoreApplication::exec();
    pump.takeWaitingEvents();
    pace.flush();
    window.actions().showState(desk);
    return settings.screenshotFile.isEmpty() ? 0 : writePicture();
}

int Terminal::writePicture() {
    QImageWriter writer(settings.screenshotFile, "PNG");
    if (writer.write(window.grab().toImage()))
        return 0;
    std::fprintf(stderr, "kxterminal: --screenshot: cannot write %s: %s\n",
                 settings.screenshotFile.toLocal8Bit().constData(),
                 writer.errorString().toLocal8Bit().constData());
    return 2;
}

} // namespace

int runTerminal(QApplication& application, const CommandLine& settings) {
    try {
        Theme::apply(application);
        Terminal terminal(settings);
        return terminal.run();
    } catch (const SettingsError& error) {
        std::fprintf(stderr, "kxterminal: %s\n", error.what());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kxterminal: %s\n", error.what());
        return 1;
    }
}

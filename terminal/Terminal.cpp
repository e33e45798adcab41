#include "terminal/Terminal.h"

#include "input/KXInputEventManager.h"
#include "terminal/DemoSession.h"
#include "terminal/DisplayPace.h"
#include "terminal/EventModel.h"
#include "terminal/EventPrinter.h"
#include "terminal/EventPump.h"
#include "terminal/MainWindow.h"
#include "terminal/TerminationSignals.h"
#include "terminal/Theme.h"
#include "terminal/ToolkitLayer.h"

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

// Members are destroyed from the last to the first: input ends before the pump, and the manager goes last.
class Terminal {
public:
    explicit Terminal(const CommandLine& settings);

    int run();

private:
    void connectParts();
    void scheduleEnd();
    int writePicture();

    const CommandLine& settings;
    TerminationSignals terminationSignals;
    Manager manager;
    EventPrinter printer;
    EventModel model;
    MainWindow window;
    DisplayPace pace;
    EventPump pump;
    ToolkitLayer toolkitLayer;
    std::unique_ptr<DemoSession> demo;
};

Terminal::Terminal(const CommandLine& commandLine)
    : settings(commandLine), manager(KX::KXInputEventManager::createInstance()), printer(stdout), window(model),
      pump(*manager),
      toolkitLayer(window, [this](KX::KXToolkitEvent& event) { manager->toolkitEventOccurred(event); }) {
    connectParts();
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
    scheduleEnd();
    QCoreApplication::exec();
    pump.takeWaitingEvents();
    pace.flush();
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
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kxterminal: %s\n", error.what());
        return 1;
    }
}

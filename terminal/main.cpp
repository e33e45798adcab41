#include "terminal/look/Theme.h"
#include "terminal/session/CommandLine.h"
#include "terminal/session/ProcessSignals.h"
#include "terminal/session/Terminal.h"

#include <QApplication>
#include <QStringList>

#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <unistd.h>

namespace Terminal {

namespace {

// Kept until it is clear whether Qt gives up.
QStringList warningsOfStart;

void print(const QString& line) {
    std::fprintf(stderr, "%s\n", line.toLocal8Bit().constData());
}

void handleMessageOfStart(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message) {
    if (type != QtFatalMsg) {
        warningsOfStart.append(message);
        return;
    }
    // The first message says more than Qt's last one, which lists all plugins.
    const QStringList reasons =
        warningsOfStart.filter(QStringLiteral("display")) + warningsOfStart + QStringList(message);
    print(QStringLiteral("kxterminal: cannot start the window system: %1 (QT_QPA_PLATFORM=offscreen needs none)")
              .arg(reasons.first().simplified()));
    _exit(1);
}

// A window system that Qt cannot start ends the process with one line on standard error and status 1. Qt itself
// would print a page and abort, and a missing display would leave a core dump.
std::unique_ptr<QApplication> startWindowSystem(int& argc, char** argv) {
    qInstallMessageHandler(handleMessageOfStart);
    auto application = std::make_unique<QApplication>(argc, argv);
    qInstallMessageHandler(nullptr);
    for (const QString& warning : qAsConst(warningsOfStart))
        print(warning);
    warningsOfStart.clear();
    return application;
}

CommandLine parseCommandLine(int argc, char** argv) {
    // Help and errors need no window system, so they work where there is none.
    const QCoreApplication application(argc, argv);
    return CommandLine::parse(QCoreApplication::arguments());
}

int run(QApplication& application, const CommandLine& settings) {
    try {
        Theme::apply(application);
        Terminal terminal(settings);
        return terminal.run();
    } catch (const FileError& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    } catch (const SettingsError& error) {
        std::fprintf(stderr, "kxterminal: %s\n", error.what());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kxterminal: %s\n", error.what());
        return 1;
    }
}

} // namespace

} // namespace Terminal

int main(int argc, char** argv) {
    // A reader of our output that goes away must not take the terminal with it.
    std::signal(SIGPIPE, SIG_IGN);

    const Terminal::CommandLine commandLine = Terminal::parseCommandLine(argc, argv);
    const QByteArray text = commandLine.text.toLocal8Bit();
    switch (commandLine.outcome) {
    case Terminal::CommandLine::Outcome::Inform: std::fputs(text.constData(), stdout); return 0;
    case Terminal::CommandLine::Outcome::Refuse: std::fprintf(stderr, "%s\n", text.constData()); return 2;
    case Terminal::CommandLine::Outcome::Run: break;
    }

    Terminal::ProcessSignals::hold();
    const std::unique_ptr<QApplication> application = Terminal::startWindowSystem(argc, argv);
    return Terminal::run(*application, commandLine);
}

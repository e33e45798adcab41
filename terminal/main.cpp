#include "terminal/look/Theme.h"
#include "terminal/session/CommandLine.h"
#include "terminal/session/ProcessSignals.h"
#include "terminal/session/Terminal.h"
#include "tools/arguments/BadInput.h"
#include "tools/output/StandardOutput.h"

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

int fail(int status, const char* reason) {
    std::fprintf(stderr, "kxterminal: %s\n", Output::asOneLine(reason).c_str());
    return status;
}

int inform(const QString& text) {
    try {
        Output::write(text.toLocal8Bit().toStdString());
        Output::flush();
        return 0;
    } catch (const std::exception& error) {
        return fail(Arguments::failureStatus, error.what());
    }
}

int run(QApplication& application, const CommandLine& settings) {
    try {
        Theme::apply(application);
        Terminal terminal(settings);
        return terminal.run();
    } catch (const FileError& error) {
        std::fprintf(stderr, "%s\n", Output::asOneLine(error.what()).c_str());
        return Arguments::badInputStatus;
    } catch (const SettingsError& error) {
        return fail(Arguments::badInputStatus, error.what());
    } catch (const std::exception& error) {
        return fail(Arguments::failureStatus, error.what());
    }
}

} // namespace

} // namespace Terminal

int main(int argc, char** argv) {
    Output::guardStandardDescriptors();
    // A reader of our output that goes away must not take the terminal with it.
    std::signal(SIGPIPE, SIG_IGN);

    const Terminal::CommandLine commandLine = Terminal::parseCommandLine(argc, argv);
    switch (commandLine.outcome) {
    case Terminal::CommandLine::Outcome::Inform: return Terminal::inform(commandLine.text);
    case Terminal::CommandLine::Outcome::Refuse:
        Terminal::print(commandLine.text);
        return Arguments::badInputStatus;
    case Terminal::CommandLine::Outcome::Run: break;
    }

    Terminal::ProcessSignals::hold();
    const std::unique_ptr<QApplication> application = Terminal::startWindowSystem(argc, argv);
    return Terminal::run(*application, commandLine);
}

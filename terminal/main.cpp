#include "terminal/session/CommandLine.h"
#include "terminal/session/Terminal.h"
#include "terminal/session/TerminationSignals.h"
#include "terminal/session/WindowSystemStart.h"

#include <QApplication>

#include <csignal>
#include <cstdio>
#include <memory>

namespace Terminal {

namespace {

CommandLine parseCommandLine(int argc, char** argv) {
    // Help and errors need no window system, so they work where there is none.
    const QCoreApplication application(argc, argv);
    return CommandLine::parse(QCoreApplication::arguments());
}

std::unique_ptr<QApplication> startWindowSystem(int& argc, char** argv) {
    const WindowSystemStart start;
    return std::make_unique<QApplication>(argc, argv);
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

    Terminal::TerminationSignals::hold();
    const std::unique_ptr<QApplication> application = Terminal::startWindowSystem(argc, argv);
    return Terminal::runTerminal(*application, commandLine);
}

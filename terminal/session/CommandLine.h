#pragma once

#include "tools/arguments/SessionTime.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace Terminal {

/// The checked command line of kxterminal.
struct CommandLine {
    enum class Outcome {
        Run,    ///< start the terminal with the settings below
        Inform, ///< print \ref text on standard output and end with status 0
        Refuse, ///< print \ref text, one line, on standard error and end with status 2
    };

    Outcome outcome = Outcome::Run;
    QString text;

    bool print = false;
    bool fullScreen = false;
    bool demo = false;
    std::optional<int> exitAfterMs;
    QString screenshotFile; ///< empty: none
    std::optional<QString> canBus;
    QString keypadFile;                   ///< empty: the built-in layout
    QString recordFile;                   ///< empty: nothing is recorded
    int keptMinutes = 0;                  ///< of input that can be saved; 0: none
    QString saveTo = QStringLiteral("."); ///< a folder, or a file of a name of its own
    int mostSaved = 20;                   ///< files
    QString replayFile;                   ///< empty: the operator makes the input
    double speed = 1;                     ///< of the replay
    bool exitAtEnd = false;
    std::optional<Arguments::SessionTime> from; ///< of the replay; none: the beginning
    std::optional<Arguments::SessionTime> to;   ///< none: the end

    /// Needs a QCoreApplication, but no window system. \p arguments begin with the name of the program.
    static CommandLine parse(const QStringList& arguments);
};

} // namespace Terminal

#pragma once

#include "tools/kxreplay/EventOutput.h"
#include "tools/kxreplay/Settings.h"

#include <string>
#include <vector>

namespace Replay {

/// The checked command line of kxreplay.
struct CommandLine {
    enum class Action { ShowHelp, ShowVersion, Play };
    enum class Output { Events, Comparison, Summary };

    Action action = Action::Play;
    Output output = Output::Events;
    Format format = Format::Text;
    std::string file;            ///< to play; "-" is standard input
    std::string expectationFile; ///< empty: none
    std::string keypadFile;      ///< empty: the built-in layout
    OtherSettings other;
    std::string otherText; ///< as on the command line: "--double-press 250"
    bool showLibraryOutput = false;
};

/// \throws BadInput  one line that names the bad argument by its number; 1 is the first after the program's name
CommandLine parseCommandLine(const std::vector<std::string>& words);

} // namespace Replay

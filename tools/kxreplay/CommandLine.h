#pragma once

#include "tools/arguments/SessionTime.h"
#include "tools/kxreplay/EventOutput.h"
#include "tools/kxreplay/Settings.h"
#include "tools/kxreplay/statistics/Grid.h"

#include <optional>
#include <string>
#include <vector>

namespace Replay {

/// The checked command line of kxreplay.
struct CommandLine {
    enum class Action { Inform, Play };
    enum class Output { Events, Comparison, Summary, TimeLine, Statistics, Merge };

    Action action = Action::Play;
    std::string text; ///< to print instead of playing: help or version
    Output output = Output::Events;
    Format format = Format::Text;
    bool follows = false;           ///< the recording grows
    std::string file;               ///< the first of \c files; "-" is standard input
    std::vector<std::string> files; ///< more than one only for statistics
    std::string listFile;           ///< has the names of more files; empty: none; "-" is standard input
    std::string plotFile;           ///< picture instead of text; empty: none
    std::optional<Arguments::SessionTime> from;
    std::optional<Arguments::SessionTime> to;
    std::vector<Grid> grids;
    unsigned int jobs = 0;       ///< processes; 0: as many as the machine has cores
    std::string expectationFile; ///< empty: none; "-" is standard input
    std::string keypadFile;      ///< empty: the built-in layout
    OtherSettings other;
    std::string otherText; ///< as on the command line: "--double-press 250"
    bool showLibraryOutput = false;
};

/// \throws BadInput  one line that names the bad argument by its number; 1 is the first after the program's name
CommandLine parseCommandLine(const std::vector<std::string>& words);

} // namespace Replay

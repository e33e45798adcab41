#pragma once

#include "platform/KXCANMessage.h"
#include "tools/arguments/ArgumentReader.h"

#include <string>
#include <vector>

namespace Can {

/// The command line of kxcan, checked.
struct CommandLine {
    enum class Action { ShowHelp, ShowVersion, Send, Play };

    Action action = Action::ShowHelp;
    std::string bus;
    std::vector<KX::KXCANMessage> frames; ///< to send
    std::string file;                     ///< to play; "-" is standard input
    double speed = 1;                     ///< how many times faster than it was recorded; 0: without any wait
};

/// \throws BadInput  it names the argument by its number: 1 is the first behind the program's name
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

/// \return \p frame
/// \throws BadInput  an error frame, which only a bus driver makes
const KX::KXCANMessage& checkThatItCanBeSent(const KX::KXCANMessage& frame);

} // namespace Can

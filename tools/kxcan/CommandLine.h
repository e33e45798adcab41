#pragma once

#include "platform/KXCANMessage.h"
#include "tools/arguments/BadInput.h"

#include <string>
#include <vector>

namespace Can {

/// The checked command line of kxcan.
struct CommandLine {
    enum class Action { Inform, Send, Play };

    Action action = Action::Inform;
    std::string text; ///< to print: help or version
    std::string bus;
    std::vector<KX::KXCANMessage> frames; ///< to send
    std::string file;                     ///< to play; "-" is standard input
    double speed = 1;                     ///< factor of the recorded pace; 0: without waiting
};

/// \throws BadInput  names the bad argument by its number; 1 is the first after the name of the program
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

/// \return \p frame
/// \throws BadInput  it is an error frame, which only a bus driver makes
const KX::KXCANMessage& checkThatItCanBeSent(const KX::KXCANMessage& frame);

} // namespace Can

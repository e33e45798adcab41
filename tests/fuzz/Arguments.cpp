#include "Targets.h"

#include "tools/kxcan/CommandLine.h"

#include <sstream>

namespace Fuzz {

namespace {

constexpr double greatestSpeed = 1000;

std::string problemWith(const Can::CommandLine& line) {
    using Action = Can::CommandLine::Action;
    if (line.action == Action::Send)
        return line.frames.empty() ? "there is nothing to send" : "";
    if (line.action != Action::Play)
        return {};
    if (line.speed < 0 || line.speed > greatestSpeed)
        return "the speed is " + std::to_string(line.speed);
    return {};
}

} // namespace

std::string problemWithArguments(const std::string& bytes) {
    std::istringstream input(bytes);
    std::vector<std::string> words;
    for (std::string word; std::getline(input, word);)
        words.push_back(word.substr(0, word.find('\0'))); // the system ends arguments there
    try {
        return problemWith(Can::parseCommandLine(words));
    } catch (const Arguments::BadInput& error) {
        const std::string told = error.what();
        return isPrintable(told) && told.find('\n') == std::string::npos ? ""
                                                                         : "what is said is no printable line";
    }
}

} // namespace Fuzz

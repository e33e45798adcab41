#include "Targets.h"

#include <QApplication>

#include <algorithm>
#include <map>
#include <stdexcept>

namespace Fuzz {

std::string problemOf(const std::string& name, const std::string& bytes) {
    // A corpus has the same name.
    static const std::map<std::string, std::string (*)(const std::string&)> checks = {
        {"actions", &problemWithActions},   {"arguments", &problemWithArguments},
        {"debug", &problemWithDebugLevels}, {"keypad", &problemWithKeypad},
        {"layouts", &problemWithLayout},    {"logs", &problemWithLog},
        {"records", &problemWithRecords},   {"recordings", &problemWithRecording},
        {"replays", &problemWithReplay},
    };
    const auto found = checks.find(name);
    if (found == checks.end())
        throw std::runtime_error("there is no fuzzer '" + name + "'");
    return found->second(bytes);
}

bool isPrintable(const std::string& words) {
    return std::all_of(
        words.begin(), words.end(), [](unsigned char c) { return c == '\n' || (c >= ' ' && c <= '~'); });
}

void needToolkit() {
    static int argumentCount = 1;
    static char name[] = "fuzz";
    static char* arguments[] = {name, nullptr};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // It lives as long as the process: the fuzzer ends without returning.
    static const auto* const application = new QApplication(argumentCount, arguments);
    static_cast<void>(application);
}

} // namespace Fuzz

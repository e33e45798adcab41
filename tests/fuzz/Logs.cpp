#include "Targets.h"

#include "recording/format/CANLog.h"

#include <sstream>
#include <stdexcept>

namespace Fuzz {

namespace {

std::string problemWithLine(const std::string& line) {
    KX::CanBus::CANLogLine parsed;
    try {
        parsed = KX::CanBus::parseCANLogLine(line);
    } catch (const std::runtime_error& error) {
        return isPrintable(error.what()) ? "" : "what is said of it cannot be printed";
    }
    const std::string written = KX::CanBus::formatCANLogLine(parsed);
    try {
        const std::string again = KX::CanBus::formatCANLogLine(KX::CanBus::parseCANLogLine(written));
        return again == written ? "" : "'" + written + "' becomes '" + again + "'";
    } catch (const std::runtime_error& error) {
        return "'" + written + "' written down again: " + error.what();
    }
}

} // namespace

std::string problemWithLog(const std::string& bytes) {
    std::istringstream input(bytes);
    for (std::string line; std::getline(input, line);) {
        const std::string problem = problemWithLine(line);
        if (!problem.empty())
            return problem;
    }
    return {};
}

} // namespace Fuzz

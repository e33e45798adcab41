#include "tools/kxreplay/Expectation.h"

#include "recording/format/Text.h"
#include "tools/arguments/ArgumentReader.h"
#include "tools/kxreplay/UnifiedDiff.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <utility>

namespace Replay {

namespace {

std::string readFile(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    if (!file)
        throw Arguments::BadInput(name + ": " + std::strerror(errno));
    std::string text;
    std::size_t lineNumber = 1;
    try {
        for (std::string line; KX::Text::readLine(file, line); ++lineNumber)
            text += file.eof() ? line : line + '\n';
    } catch (const std::runtime_error& error) {
        throw Arguments::BadInput(name + ":" + std::to_string(lineNumber) + ": " + error.what());
    }
    // A folder can be opened, but not be read.
    if (file.bad())
        throw Arguments::BadInput(name + ": cannot be read");
    return text;
}

} // namespace

Expectation::Expectation(std::string fileName) : name(std::move(fileName)), text(readFile(name)) {}

bool Expectation::isMetBy(std::string_view printed) const {
    return printed == text;
}

std::string Expectation::differenceFrom(std::string_view printed) const {
    return unifiedDiff(text, name, printed, "recording");
}

} // namespace Replay

#include "tools/kxreplay/Expectation.h"

#include "tools/arguments/ArgumentReader.h"
#include "tools/kxreplay/UnifiedDiff.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <utility>

namespace Replay {

namespace {

std::string readFile(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    if (!file)
        throw Arguments::BadInput(name + ": " + std::strerror(errno));
    std::ostringstream text;
    // Of an empty file nothing is taken over, which counts as a failure of the stream that takes.
    if (file.peek() != std::ifstream::traits_type::eof())
        text << file.rdbuf();
    // A folder can be opened, but not be read.
    if (file.bad() || text.fail())
        throw Arguments::BadInput(name + ": cannot be read");
    return text.str();
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

#include "tools/kxreplay/comparison/Expectation.h"

#include "recording/format/Text.h"
#include "tools/arguments/BadInput.h"
#include "tools/kxreplay/comparison/UnifiedDiff.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <utility>

namespace Replay {

namespace {

std::string readAll(std::istream& input, const std::string& name) {
    std::string text;
    std::size_t lineNumber = 1;
    try {
        for (std::string line; KX::Text::readLine(input, line); ++lineNumber)
            text += input.eof() ? line : line + '\n';
    } catch (const std::runtime_error& error) {
        throw Arguments::BadInput(name + ":" + std::to_string(lineNumber) + ": " + error.what());
    }
    if (input.bad())
        throw Arguments::BadInput(name + ": " + KX::Text::whyUnreadable());
    return text;
}

std::string readFile(const std::string& name) {
    if (name == "-") {
        std::string text = readAll(std::cin, "standard input");
        // What should have written it may have failed. A file that is there and empty expects no events.
        if (text.empty())
            throw Arguments::BadInput("standard input: there is no expected output in it");
        return text;
    }
    std::ifstream file(name, std::ios::binary);
    if (!file)
        throw Arguments::BadInput(name + ": " + std::strerror(errno));
    return readAll(file, name);
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

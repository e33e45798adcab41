#include "tools/arguments/ArgumentReader.h"

#include "recording/format/Text.h"

#include <utility>

namespace Arguments {

ArgumentReader::ArgumentReader(std::string programName, const std::vector<std::string>& allArguments)
    : program(std::move(programName)), arguments(allArguments) {}

bool ArgumentReader::isAtEnd() const {
    return next == arguments.size();
}

const std::string& ArgumentReader::take(const std::string& what) {
    if (isAtEnd())
        throw BadInput(program + ": " + what + " is missing; " + program + " --help shows how to call it");
    return arguments[next++];
}

void ArgumentReader::refuse(const std::string& reason) const {
    throw BadInput(program + ": argument " + std::to_string(next) + ": " + reason);
}

void ArgumentReader::refuseUnknown(const std::string& what) const {
    refuse(what + " " + KX::Text::quoted(arguments[next - 1]));
}

bool ArgumentReader::isOption(const std::string& text) {
    return text.size() > 1 && text.front() == '-';
}

} // namespace Arguments

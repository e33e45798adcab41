#pragma once

#include <cstddef>
#include <string>

namespace KX {

/// Standard error, line by line.
class DebugOutput {
public:
    DebugOutput() = delete;

    /// Writes a line that stays whole among those of other threads. Blocks while standard error does. A line that
    /// cannot be written is lost.
    /// \param line  without line end; line ends inside become blanks
    static void writeLine(std::string& line);

    /// The same for \p length characters, followed by room for one more, which takes the line end.
    static void writeLine(char* line, std::size_t length);
};

} // namespace KX

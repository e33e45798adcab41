#pragma once

#include <cstddef>
#include <string>

namespace KX {

/// Standard error, line by line. Any thread.
///
/// A line stays whole among those of other threads. A full output gets 100 ms to take a line. After that the line
/// is lost, and so is each further line that finds no room at once, until one gets through. That one follows a
/// line which tells how many were lost.
class DebugOutput {
public:
    DebugOutput() = delete;

    /// \param line  without line end; line ends inside become blanks
    static void writeLine(std::string& line);

    /// The same for \p length characters, followed by room for one more, which takes the line end.
    static void writeLine(char* line, std::size_t length);
};

} // namespace KX

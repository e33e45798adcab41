#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace KX::Text {

/// Reads a stream line by line, in blocks. It takes what the stream has and waits for more only when no line is
/// complete, so the lines of a pipe come as they are written.
class LineReader {
public:
    /// \param input  must outlive the reader
    explicit LineReader(std::istream& input);

    /// The next line without its line end, valid until the next call.
    /// \return false when there is none left, or when the stream is bad
    /// \throws std::runtime_error  the line is longer than \ref longestLine; nothing more may be read
    bool next(std::string_view& line);

    /// Whether the last line had a line end. Only the last one of a file can have none.
    bool hasLineEnd() const { return isComplete; }

private:
    bool fill();

    static constexpr std::size_t blockBytes = 32 * 1024;

    std::istream& stream;
    std::vector<char> block;
    std::size_t begin = 0; // of what is left in the block
    std::size_t end = 0;
    std::string parts; // of a line that reaches into another block
    bool isComplete = true;
};

} // namespace KX::Text

#include "recording/format/LineReader.h"

#include "recording/format/Text.h"

#include <algorithm>
#include <cstring>
#include <exception>

namespace KX::Text {

LineReader::LineReader(std::istream& input) : stream(input), block(blockBytes) {}

bool LineReader::next(std::string_view& line) {
    parts.clear();
    for (;;) {
        const char* const first = block.data() + begin;
        const std::size_t left = end - begin;
        const auto* const lineEnd = left == 0 ? nullptr : static_cast<const char*>(std::memchr(first, '\n', left));
        const std::string_view part(first, lineEnd ? static_cast<std::size_t>(lineEnd - first) : left);
        if (lineEnd) {
            begin += part.size() + 1;
            isComplete = true;
            if (parts.empty()) {
                line = part;
                return true;
            }
        }
        appendToLine(parts, part);
        line = parts;
        if (lineEnd)
            return true;
        if (!fill()) {
            isComplete = false;
            return !stream.bad() && !parts.empty();
        }
    }
}

// A stream reports an error of its buffer as its bad state. Here the buffer is read directly, because only it tells how
// much it has.
bool LineReader::fill() {
    begin = end = 0;
    if (!stream.good())
        return false;
    try {
        std::streambuf& buffer = *stream.rdbuf();
        if (std::streambuf::traits_type::eq_int_type(buffer.sgetc(), std::streambuf::traits_type::eof())) {
            stream.setstate(std::ios::eofbit);
            return false;
        }
        const auto most = static_cast<std::streamsize>(blockBytes);
        end = static_cast<std::size_t>(
            buffer.sgetn(block.data(), std::clamp<std::streamsize>(buffer.in_avail(), 1, most)));
    } catch (const std::exception&) {
        stream.setstate(std::ios::badbit);
    }
    return end > 0;
}

} // namespace KX::Text

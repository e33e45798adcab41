#include "recording/format/Text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>

namespace KX::Text {

namespace {

// Most characters are none: one comparison is enough for them.
constexpr bool isBlank(char character) {
    return character <= ' ' &&
           (character == ' ' || character == '\t' || character == '\r' || character == '\v' || character == '\f');
}

} // namespace

std::string quoted(std::string_view text) {
    const std::size_t longest = 40;
    std::string result(text.substr(0, longest));
    std::replace_if(
        result.begin(), result.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return "'" + result + (text.size() > longest ? "...'" : "'");
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view takeWord(std::string_view& text) {
    text = trimmed(text);
    std::size_t end = 0;
    while (end < text.size() && !isBlank(text[end]))
        ++end;
    const std::string_view word = text.substr(0, end);
    while (end < text.size() && isBlank(text[end])) // no blank is left at the other end
        ++end;
    text.remove_prefix(end);
    return word;
}

std::string_view takeUntil(std::string_view& text, char separator) {
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return part;
}

// In pieces, which the stream searches for the end of the line.
bool readLine(std::istream& input, std::string& line) {
    line.clear();
    std::array<char, 1024> piece;
    for (;;) {
        input.getline(piece.data(), piece.size());
        const auto taken = static_cast<std::size_t>(input.gcount());
        const bool hasEnd = input.good();
        appendToLine(line, {piece.data(), hasEnd ? taken - 1 : taken});
        if (hasEnd)
            return true;
        if (taken + 1 < piece.size())
            return !line.empty();
        input.clear(); // the line is longer than a piece
    }
}

// A folder can be opened like a file, but not be read.
std::string whyUnreadable() {
    return errno == EISDIR ? "Is a directory" : "cannot be read to its end";
}

// A file without line ends must not fill the memory.
void appendToLine(std::string& line, std::string_view text) {
    if (text.size() > longestLine - line.size())
        throw std::runtime_error("the line is longer than " + std::to_string(longestLine) + " characters");
    line.append(text);
}

std::string hexadecimal(unsigned int number) {
    std::array<char, 8> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    return {digits.data(), end};
}

} // namespace KX::Text

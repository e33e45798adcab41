#include "recording/format/Text.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace KX::Text {

std::string quoted(std::string_view text) {
    const std::size_t longest = 40;
    std::string result(text.substr(0, longest));
    std::replace_if(
        result.begin(), result.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return "'" + result + (text.size() > longest ? "...'" : "'");
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string_view takeWord(std::string_view& text) {
    text = trimmed(text);
    const std::size_t end = std::min(text.find_first_of(blanks), text.size());
    const std::string_view word = text.substr(0, end);
    text = trimmed(text.substr(end));
    return word;
}

std::string_view takeUntil(std::string_view& text, char separator) {
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return part;
}

bool readLine(std::istream& input, std::string& line) {
    line.clear();
    for (int character = input.get(); character != std::istream::traits_type::eof(); character = input.get()) {
        if (character == '\n')
            return true;
        appendToLine(line, static_cast<char>(character));
    }
    return !line.empty();
}

// A file without line ends must not fill the memory.
void appendToLine(std::string& line, char character) {
    if (line.size() == longestLine)
        throw std::runtime_error("the line is longer than " + std::to_string(longestLine) + " characters");
    line.push_back(character);
}

std::string hexadecimal(unsigned int number) {
    std::array<char, 8> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    return {digits.data(), end};
}

} // namespace KX::Text

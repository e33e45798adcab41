#pragma once

#include <charconv>
#include <cstddef>
#include <istream>
#include <string>
#include <string_view>
#include <system_error>

/// Words and numbers in text files, which may contain anything.
namespace KX::Text {

/// Of any input file, without the line end.
constexpr std::size_t longestLine = 1048576;

/// Reads the next line, without its line end. The last line may have none; then \p input is at its end.
/// \return false when there is no line left
/// \throws std::runtime_error  the line is longer than \ref longestLine; nothing more is read
bool readLine(std::istream& input, std::string& line);

/// Why a stream that was being read went bad, right after that.
std::string whyUnreadable();

/// \throws std::runtime_error  there is no room for \p text
void appendToLine(std::string& line, std::string_view text);

/// Quotes a text from the input for a message. The result is always one readable line.
std::string quoted(std::string_view text);

/// Removes blanks at both ends.
std::string_view trimmed(std::string_view text);

/// Takes the first word off \p text; empty at the end.
std::string_view takeWord(std::string_view& text);

/// Takes the part before the next \p separator off \p text, with the separator. Without a separator it takes all.
std::string_view takeUntil(std::string_view& text, char separator);

/// Parses the whole of \p text as a number: only digits, and a minus for signed types. No blanks, no prefix.
/// \return whether \p text is a number that fits
template<typename Number>
bool parseNumber(std::string_view text, int base, Number& number) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

/// In lower case, without leading zeros.
std::string hexadecimal(unsigned int number);

} // namespace KX::Text

#pragma once

#include <charconv>
#include <string>
#include <string_view>
#include <system_error>

/// Words and numbers in text files, which may contain anything.
namespace KX::Text {

constexpr std::string_view blanks = " \t\r\v\f";

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

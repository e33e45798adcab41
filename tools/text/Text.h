#pragma once

#include <charconv>
#include <string>
#include <string_view>
#include <system_error>

/// What the readers of text have in common: lines of words, from files that may hold anything.
namespace Text {

constexpr std::string_view blanks = " \t\r\v\f";

/// Text of the input for a message, which stays one readable line whatever that is.
std::string quoted(std::string_view text);

/// Without blanks at either end.
std::string_view trimmed(std::string_view text);

/// Takes the word before the next blank off \p text; empty at the end.
std::string_view takeWord(std::string_view& text);

/// Takes what stands before the next \p separator off \p text, and the separator; the rest where there is none.
std::string_view takeUntil(std::string_view& text, char separator);

/// The whole of \p text as a number: digits, for a signed one perhaps with a minus; no blank, no prefix.
/// \return whether it is one and fits
template<typename Number>
bool parseNumber(std::string_view text, int base, Number& number) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

/// In lower case, without leading zeros.
std::string hexadecimal(unsigned int number);

} // namespace Text

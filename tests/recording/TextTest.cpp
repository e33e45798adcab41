#include "recording/format/Text.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using Parts = std::pair<std::string, std::string>;

Parts wordAndRest(std::string_view text) {
    const std::string_view word = KX::Text::takeWord(text);
    return {std::string(word), std::string(text)};
}

Parts partAndRest(std::string_view text) {
    const std::string_view part = KX::Text::takeUntil(text, ',');
    return {std::string(part), std::string(text)};
}

template<typename Number>
bool isNumber(std::string_view text, int base = 10) {
    Number number{};
    return KX::Text::parseNumber(text, base, number);
}

template<typename Number>
Number numberOf(std::string_view text, int base = 10) {
    Number number{};
    EXPECT_TRUE(KX::Text::parseNumber(text, base, number)) << text;
    return number;
}

// The lines, and what refuses the next one.
std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream input(text);
    std::vector<std::string> lines;
    try {
        for (std::string line; KX::Text::readLine(input, line);)
            lines.push_back(line);
    } catch (const std::runtime_error& error) {
        lines.emplace_back(error.what());
    }
    return lines;
}

using Lines = std::vector<std::string>;

} // namespace

TEST(TextTest, ReadsLinesWithAndWithoutALineEnd) {
    EXPECT_EQ(Lines{}, linesOf(""));
    EXPECT_EQ(Lines({"", ""}), linesOf("\n\n"));
    EXPECT_EQ(Lines({"a\r", "b"}), linesOf("a\r\nb\n"));
    EXPECT_EQ(Lines({"a", "b"}), linesOf("a\nb"));
}

TEST(TextTest, ReadsLinesUpToTheLongest) {
    const std::string refusal = "the line is longer than 1048576 characters";
    for (const std::size_t size : {1048575U, 1048576U}) {
        EXPECT_EQ(Lines({std::string(size, 'x'), "y"}), linesOf(std::string(size, 'x') + "\ny")) << size;
        EXPECT_EQ(Lines{std::string(size, 'x')}, linesOf(std::string(size, 'x'))) << size;
    }
    EXPECT_EQ(Lines{refusal}, linesOf(std::string(1048577, 'x') + "\ny"));
    EXPECT_EQ(Lines({"y", refusal}), linesOf("y\n" + std::string(1048577, 'x')));
}

TEST(TextTest, TrimsBlanksOfEveryKind) {
    EXPECT_EQ("a b", KX::Text::trimmed(" \t\r\v\fa b\f\v\r\t "));
    EXPECT_EQ("", KX::Text::trimmed(""));
    EXPECT_EQ("", KX::Text::trimmed(" \r"));
    EXPECT_EQ("a", KX::Text::trimmed("a"));
}

TEST(TextTest, ALineEndAndAZeroAreNoBlanks) {
    EXPECT_EQ("\n", KX::Text::trimmed(" \n "));
    EXPECT_EQ(std::string_view("\0", 1), KX::Text::trimmed(std::string_view(" \0 ", 3)));
}

TEST(TextTest, TakesOneWordAndTheBlanksAroundIt) {
    EXPECT_EQ(Parts("a", "b c"), wordAndRest("  a \t b c  "));
    EXPECT_EQ(Parts("a", ""), wordAndRest("a"));
    EXPECT_EQ(Parts("a", ""), wordAndRest("a\r"));
    EXPECT_EQ(Parts("", ""), wordAndRest(" "));
    EXPECT_EQ(Parts("", ""), wordAndRest(""));
}

TEST(TextTest, TakesWhatStandsBeforeASeparator) {
    EXPECT_EQ(Parts("a", "b,c"), partAndRest("a,b,c"));
    EXPECT_EQ(Parts("", "b"), partAndRest(",b"));
    EXPECT_EQ(Parts("a", ""), partAndRest("a,"));
    EXPECT_EQ(Parts("a", ""), partAndRest("a"));
    EXPECT_EQ(Parts("", ""), partAndRest(","));
    EXPECT_EQ(Parts("", ""), partAndRest(""));
}

TEST(TextTest, ANumberIsDigitsAndNothingElse) {
    EXPECT_EQ(0U, numberOf<unsigned int>("0"));
    EXPECT_EQ(7U, numberOf<unsigned int>("007"));
    EXPECT_EQ(UINT_MAX, numberOf<unsigned int>("4294967295"));
    EXPECT_EQ(INT_MIN, numberOf<int>("-2147483648"));
    EXPECT_EQ(INT64_MIN, numberOf<std::int64_t>("-9223372036854775808"));
    EXPECT_EQ(0xABCDEFU, numberOf<unsigned int>("aBcDeF", 16));
    for (const char* const none : {"", " 1", "1 ", "+1", "0x1", "1.0", "1a", "-", "--1", "4294967296", "-1"})
        EXPECT_FALSE(isNumber<unsigned int>(none)) << none;
    EXPECT_FALSE(isNumber<int>("2147483648"));
    EXPECT_FALSE(isNumber<int>("-2147483649"));
    EXPECT_FALSE(isNumber<unsigned int>("100000000", 16));
    EXPECT_FALSE(isNumber<unsigned int>(std::string_view("1\0", 2)));
}

TEST(TextTest, HexadecimalIsLowerCaseWithoutLeadingZeros) {
    EXPECT_EQ("0", KX::Text::hexadecimal(0));
    EXPECT_EQ("abcdef", KX::Text::hexadecimal(0xABCDEF));
    EXPECT_EQ("ffffffff", KX::Text::hexadecimal(UINT_MAX));
}

TEST(TextTest, AQuotationStaysOneReadableLine) {
    EXPECT_EQ("''", KX::Text::quoted(""));
    EXPECT_EQ("' ~'", KX::Text::quoted(" ~"));
    EXPECT_EQ("'a??b????z'", KX::Text::quoted("a\n\tb\x7f\x1f\x80\xffz"));
    EXPECT_EQ("'" + std::string(40, 'x') + "'", KX::Text::quoted(std::string(40, 'x')));
    EXPECT_EQ("'" + std::string(40, 'x') + "...'", KX::Text::quoted(std::string(41, 'x')));
}

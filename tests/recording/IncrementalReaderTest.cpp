// Reads recordings entry by entry, from streams that deliver their text in pieces.

#include "recording/KXRecordingReader.h"
#include "recording/format/LineReader.h"
#include "recording/format/RecordingFormat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <vector>

namespace {

using namespace KX::Recording;
using testing::ElementsAre;

/// Delivers a text in pieces of some bytes, and tells how much it has delivered.
class Pieces : public std::streambuf {
public:
    Pieces(std::string wholeText, std::size_t pieceBytes) : text(std::move(wholeText)), piece(pieceBytes) {}

    std::size_t delivered = 0;

protected:
    int_type underflow() override {
        if (delivered == text.size())
            return traits_type::eof();
        const std::size_t count = std::min(piece, text.size() - delivered);
        setg(text.data() + delivered, text.data() + delivered, text.data() + delivered + count);
        delivered += count;
        return traits_type::to_int_type(*gptr());
    }

private:
    std::string text;
    const std::size_t piece;
};

std::vector<std::string> linesOf(const std::string& text, std::size_t piece) {
    Pieces pieces(text, piece);
    std::istream input(&pieces);
    KX::Text::LineReader reader(input);
    std::vector<std::string> lines;
    for (std::string_view line; reader.next(line);)
        lines.push_back(std::string(line) + (reader.hasLineEnd() ? "$" : ""));
    return lines;
}

const std::string sessionText = "kxrecording 2\n# a comment\n1000 set long-press 2500\n1000 set long-press 1500\n"
                                "1010 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n1020 set double-press 200\n"
                                "1100 pass\n1200 end\n";

} // namespace

TEST(LineReader, finds_the_same_lines_in_pieces_of_any_size) {
    for (const std::size_t piece : {1U, 2U, 3U, 100U})
        EXPECT_THAT(linesOf("one\n\ntwo and more\nlast", piece), ElementsAre("one$", "$", "two and more$", "last"))
            << piece;
    EXPECT_THAT(linesOf("", 1), ElementsAre());
    EXPECT_THAT(linesOf("\n", 1), ElementsAre("$"));
}

TEST(LineReader, joins_a_line_that_ends_at_a_block_or_beside_it) {
    constexpr std::size_t block = 32 * 1024;
    for (const std::size_t length : {block - 2, block - 1, block, block + 1}) {
        const std::string line(length, 'x');
        EXPECT_THAT(linesOf(line + "\nnext\n", 2 * block), ElementsAre(line + "$", "next$")) << length;
    }
}

// At a terminal, the end is a key, and more could be typed behind it.
TEST(LineReader, keeps_to_the_end_that_it_has_seen) {
    std::istringstream input("one\n");
    KX::Text::LineReader reader(input);
    std::string_view line;
    EXPECT_TRUE(reader.next(line));
    EXPECT_FALSE(reader.next(line));
    EXPECT_TRUE(input.eof());
    input.str("two\n");
    EXPECT_FALSE(reader.next(line));
}

TEST(LineReader, refuses_a_line_above_the_longest) {
    EXPECT_EQ(1U, linesOf(std::string(1048576, 'x') + "\n", 100000).size());
    EXPECT_THROW(linesOf(std::string(1048577, 'x') + "\n", 100000), std::runtime_error);
}

TEST(RecordingEntries, tell_what_was_unknown_so_far_when_asked) {
    std::istringstream input("kxrecording 2\n1000 pass\n1005 brew\n1010 end\n");
    std::vector<std::string> warnings;
    Reader reader(input, "day.kxr", [&warnings](const std::string& warning) { warnings.push_back(warning); });
    reader.next();
    reader.warnOfUnknown();
    EXPECT_THAT(warnings, ElementsAre());
    reader.next();
    reader.warnOfUnknown();
    EXPECT_THAT(warnings, ElementsAre("day.kxr:3: the line 'brew' is not known; what a newer version has added is "
                                      "left out"));
    EXPECT_EQ(nullptr, reader.next());
    EXPECT_EQ(1U, warnings.size()) << "each line once";
}

TEST(RecordingEntries, come_one_by_one_as_their_lines_come) {
    Pieces pieces(sessionText, 1);
    std::istream input(&pieces);
    Reader reader(input, "day.kxr", [](const std::string& warning) { ADD_FAILURE() << warning; });
    std::size_t end = 0;
    for (const char* const line : {"1000 set long-press 2500\n", "1000 set long-press 1500\n"}) {
        const Entry* const entry = reader.next();
        ASSERT_NE(nullptr, entry);
        end = sessionText.find(line) + std::string(line).size();
        EXPECT_EQ(line, format(*entry) + "\n");
        EXPECT_EQ(end, pieces.delivered) << "nothing behind the line was asked for";
    }
    EXPECT_FALSE(reader.isPlainLog());
}

TEST(RecordingEntries, are_those_of_the_whole_session) {
    std::istringstream whole(sessionText);
    const Session read = KX::Recording::read(whole, "day.kxr", {});
    std::istringstream input(sessionText);
    Reader reader(input, "day.kxr", {});
    for (const Entry& expected : read.entries) {
        const Entry* const entry = reader.next();
        ASSERT_NE(nullptr, entry);
        EXPECT_EQ(format(expected), format(*entry));
        EXPECT_EQ(expected.line, entry->line);
    }
    EXPECT_EQ(nullptr, reader.next());
    EXPECT_EQ(nullptr, reader.next()) << "the end stays";
}

TEST(RecordingEntries, are_read_without_warnings_if_nobody_takes_them) {
    std::istringstream input("kxrecording 2\n1000 pass\n1100 tea=1\n1200 pa");
    EXPECT_EQ(1U, KX::Recording::read(input, "day.kxr", {}).entries.size());
}

TEST(RecordingEntries, tell_a_bad_line_after_the_good_ones) {
    std::istringstream input("kxrecording 2\n1000 pass\n1100 tea=1\n");
    std::vector<std::string> warnings;
    Reader reader(input, "day.kxr", [&](const std::string& warning) { warnings.push_back(warning); });
    EXPECT_NE(nullptr, reader.next());
    EXPECT_EQ(nullptr, reader.next());
    EXPECT_EQ(1U, warnings.size()) << "a word of a newer version";
    std::istringstream bad("kxrecording 2\n1000 pass\n900 pass\n");
    Reader other(bad, "day.kxr", {});
    EXPECT_NE(nullptr, other.next());
    EXPECT_THROW(other.next(), BadFile);
}

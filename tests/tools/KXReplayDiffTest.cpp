#include "models/RandomRun.h"
#include "tools/kxreplay/comparison/UnifiedDiff.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace Replay {
namespace {

using Lines = std::vector<std::string>;

std::string diff(const std::string& oldText, const std::string& newText) {
    return unifiedDiff(oldText, "old", newText, "new");
}

const std::string head = "--- old\n+++ new\n";

TEST(KXReplayDiff, equal_texts_have_none) {
    EXPECT_EQ(diff("", ""), "");
    EXPECT_EQ(diff("a\nb\n", "a\nb\n"), "");
    EXPECT_EQ(diff("a", "a"), "");
}

TEST(KXReplayDiff, a_line_is_put_in_taken_out_and_changed) {
    EXPECT_EQ(diff("a\nc\n", "a\nb\nc\n"), head + "@@ -1,2 +1,3 @@\n a\n+b\n c\n");
    EXPECT_EQ(diff("a\nb\nc\n", "a\nc\n"), head + "@@ -1,3 +1,2 @@\n a\n-b\n c\n");
    EXPECT_EQ(diff("a\nb\nc\n", "a\nB\nc\n"), head + "@@ -1,3 +1,3 @@\n a\n-b\n+B\n c\n");
}

TEST(KXReplayDiff, of_an_empty_text_names_the_line_before_it) {
    EXPECT_EQ(diff("", "a\n"), head + "@@ -0,0 +1 @@\n+a\n");
    EXPECT_EQ(diff("a\nb\n", ""), head + "@@ -1,2 +0,0 @@\n-a\n-b\n");
}

TEST(KXReplayDiff, a_missing_line_end_is_told) {
    EXPECT_EQ(diff("a\nb", "a\nb\n"), head + "@@ -1,2 +1,2 @@\n a\n-b\n\\ No newline at end of file\n+b\n");
    EXPECT_EQ(diff("a\nb\n", "a\nb"), head + "@@ -1,2 +1,2 @@\n a\n-b\n+b\n\\ No newline at end of file\n");
    EXPECT_EQ(diff("a\nb", "c\nb"), head + "@@ -1,2 +1,2 @@\n-a\n+c\n b\n\\ No newline at end of file\n");
}

TEST(KXReplayDiff, three_lines_of_context_stand_around_a_change) {
    EXPECT_EQ(diff("1\n2\n3\n4\nx\n5\n6\n7\n8\n", "1\n2\n3\n4\n5\n6\n7\n8\n"),
              head + "@@ -2,7 +2,6 @@\n 2\n 3\n 4\n-x\n 5\n 6\n 7\n");
}

TEST(KXReplayDiff, changes_up_to_six_lines_apart_share_a_hunk) {
    EXPECT_EQ(diff("x\n1\n2\n3\n4\n5\n6\ny\n", "1\n2\n3\n4\n5\n6\n"),
              head + "@@ -1,8 +1,6 @@\n-x\n 1\n 2\n 3\n 4\n 5\n 6\n-y\n");
    EXPECT_EQ(diff("x\n1\n2\n3\n4\n5\n6\n7\ny\n", "1\n2\n3\n4\n5\n6\n7\n"),
              head + "@@ -1,4 +1,3 @@\n-x\n 1\n 2\n 3\n@@ -6,4 +5,3 @@\n 5\n 6\n 7\n-y\n");
}

/// Applies the hunks of a diff to \p oldLines and reports hunks that do not fit.
class Patch {
public:
    explicit Patch(const Lines& lines) : oldLines(lines) {}

    Lines apply(const Lines& diffLines) {
        for (std::size_t i = 2; i < diffLines.size(); ++i)
            take(diffLines[i]);
        copyUpTo(oldLines.size());
        return result;
    }

    std::size_t changes = 0;

private:
    void take(const std::string& line) {
        if (line[0] == '@') {
            const std::size_t comma = line.find_first_of(", ", 4);
            const std::size_t start = std::stoul(line.substr(4));
            copyUpTo(line.compare(comma, 2, ",0") == 0 ? start : start - 1);
            return;
        }
        changes += line[0] == ' ' ? 0 : 1;
        if (line[0] != '+') {
            ASSERT_LT(next, oldLines.size());
            ASSERT_EQ(oldLines[next++], line.substr(1));
        }
        if (line[0] != '-')
            result.push_back(line.substr(1));
    }

    void copyUpTo(std::size_t line) {
        ASSERT_LE(next, line);
        while (next < line)
            result.push_back(oldLines[next++]);
    }

    const Lines& oldLines;
    std::size_t next = 0;
    Lines result;
};

std::string join(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

Lines split(const std::string& text) {
    Lines lines;
    std::istringstream input(text);
    for (std::string line; std::getline(input, line);)
        lines.push_back(line);
    return lines;
}

/// The simple algorithm for the number of common lines.
std::size_t longestCommon(const Lines& one, const Lines& other) {
    std::vector<std::size_t> previous(other.size() + 1);
    for (const std::string& line : one) {
        std::vector<std::size_t> row(other.size() + 1);
        for (std::size_t j = 0; j < other.size(); ++j)
            row[j + 1] = line == other[j] ? previous[j] + 1 : std::max(row[j], previous[j + 1]);
        previous = row;
    }
    return previous.back();
}

// Each difference takes memory for its longest path at once, which AddressSanitizer marks byte by byte.
#ifdef __SANITIZE_ADDRESS__
constexpr int rounds = 100;
#else
constexpr int rounds = 3000;
#endif

TEST(KXReplayDiff, of_random_texts_leads_from_one_to_the_other_the_shortest_way) {
    KX::test::Random random(7);
    for (int round = 0; round < rounds; ++round) {
        const std::uint32_t kinds = 1 + random.below(30);
        const auto randomLines = [&random, kinds] {
            Lines lines;
            for (std::uint32_t count = random.below(25); count > 0; --count)
                lines.push_back(std::to_string(random.below(kinds)));
            return lines;
        };
        const Lines oldLines = randomLines();
        const Lines newLines = randomLines();
        const std::string text = diff(join(oldLines), join(newLines));
        Patch patch(oldLines);
        ASSERT_EQ(patch.apply(split(text)), newLines) << text;
        ASSERT_EQ(patch.changes, oldLines.size() + newLines.size() - 2 * longestCommon(oldLines, newLines))
            << text;
    }
}

// Other programs do not count, so a busy machine gives the same result.
double usedProcessorMs() {
    return static_cast<double>(std::clock()) * 1e3 / CLOCKS_PER_SEC;
}

// What comparing each line with each other one takes here, for so many lines.
double msOfEachWithEach(double lineCount) {
    constexpr int few = 400;
    Lines lines;
    for (int i = 0; i < few; ++i)
        lines.push_back(std::to_string(i));
    const double start = usedProcessorMs();
    longestCommon(lines, lines);
    return (usedProcessorMs() - start) * (lineCount / few) * (lineCount / few);
}

// Also with lines that occur a thousand times.
TEST(KXReplayDiff, of_large_texts_takes_a_small_part_of_comparing_each_line_with_each) {
    constexpr int count = 40000;
    Lines oldLines;
    Lines newLines;
    Lines shifted;
    for (int i = 0; i < count; ++i) {
        oldLines.push_back(i % 3 == 0 ? "again" : std::to_string(i));
        newLines.push_back(i % 3 == 1 ? "again" : std::to_string(i + i % 2));
        shifted.push_back(std::to_string(i + 100000));
    }
    const double simplyMs = msOfEachWithEach(count);
    for (const Lines& lines : {newLines, shifted, Lines()}) {
        const double start = usedProcessorMs();
        const std::string text = diff(join(oldLines), join(lines));
        const double usedMs = usedProcessorMs() - start;
        std::cout << usedMs << " ms, and " << simplyMs << " ms simply\n";
        EXPECT_LT(usedMs, simplyMs / 10);
        Patch patch(oldLines);
        EXPECT_TRUE(patch.apply(split(text)) == lines);
    }
}

} // namespace
} // namespace Replay

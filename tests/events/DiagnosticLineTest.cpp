#include "events/DiagnosticLine.h"

#include "events/KXSomeEvent.h"

#include <gtest/gtest.h>

#include <climits>
#include <iomanip>
#include <iostream>
#include <locale>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace KX {
namespace {

std::string lineOf(std::initializer_list<LinePiece> pieces) {
    std::ostringstream stream;
    writeLine(stream, pieces);
    return stream.str();
}

TEST(DiagnosticLine, is_made_of_its_pieces_and_a_line_end) {
    EXPECT_EQ(lineOf({}), "\n");
    EXPECT_EQ(lineOf({"text"}), "text\n");
    EXPECT_EQ(lineOf({"a ", 1, " b ", 2U, " c"}), "a 1 b 2 c\n");
}

TEST(DiagnosticLine, shows_numbers_in_decimal) {
    EXPECT_EQ(lineOf({INT_MIN, " ", -1, " ", 0, " ", INT_MAX, " ", UINT_MAX}),
              "-2147483648 -1 0 2147483647 4294967295\n");
}

TEST(DiagnosticLine, shows_pointers_as_a_stream_does) {
    int object = 0;
    for (const void* const pointer :
         {static_cast<const void*>(&object), reinterpret_cast<const void*>(0xa100),
          static_cast<const void*>(nullptr), reinterpret_cast<const void*>(~std::uintptr_t{0})}) {
        std::ostringstream expected;
        expected << pointer << '\n';
        EXPECT_EQ(lineOf({pointer}), expected.str());
    }
}

TEST(DiagnosticLine, is_cut_at_511_characters_and_still_ends) {
    const std::string longest(511, 'x');
    EXPECT_EQ(lineOf({longest.c_str()}), longest + "\n");
    EXPECT_EQ(lineOf({(longest + "y").c_str()}), longest + "\n");
    EXPECT_EQ(lineOf({longest.substr(1).c_str(), "y"}), longest.substr(1) + "y\n");
    EXPECT_EQ(lineOf({longest.c_str(), 12}), longest + "\n");
}

struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(DiagnosticLine, does_not_depend_on_the_settings_of_the_stream_and_leaves_them) {
    std::ostringstream stream;
    stream.imbue(std::locale(std::locale::classic(), new Grouping));
    stream << std::hex << std::showbase << std::uppercase << std::showpos << std::left << std::setfill('*');
    stream.width(30);
    const auto flags = stream.flags();
    writeLine(stream, {"type ", 1010, " count ", 4096U, " at ", reinterpret_cast<const void*>(0xabcd)});
    EXPECT_EQ(stream.str(), "type 1010 count 4096 at 0xabcd\n");
    EXPECT_EQ(stream.flags(), flags);
    EXPECT_EQ(stream.width(), 30);
    EXPECT_EQ(stream.fill(), '*');
}

// Counts the operations of a stream.
class Insertions : public std::streambuf {
public:
    std::vector<std::string> texts;
    int flushes = 0;
    std::size_t textsAtFlush = 0;

private:
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        texts.emplace_back(text, static_cast<std::size_t>(size));
        return size;
    }
    int_type overflow(int_type character) override {
        texts.emplace_back(1, traits_type::to_char_type(character));
        return character;
    }
    int sync() override {
        ++flushes;
        textsAtFlush = texts.size();
        return 0;
    }
};

TEST(DiagnosticLine, is_handed_over_in_one_insertion_and_flushed) {
    Insertions insertions;
    std::ostream stream(&insertions);
    writeLine(stream, {"a ", 1, " b"});
    EXPECT_EQ(insertions.texts, std::vector<std::string>{"a 1 b\n"});
    EXPECT_EQ(insertions.flushes, 1);
    EXPECT_EQ(insertions.textsAtFlush, 1U) << "flushed behind the text";
}

// Each thread writes lines of its own kind into the same pipe. Lines written in pieces would mix.
TEST(DiagnosticLine, of_several_threads_is_whole) {
    constexpr int lineCount = 2000;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::string written;
    std::thread reader([&] {
        char block[4096];
        for (ssize_t length = 0; (length = read(ends[0], block, sizeof block)) > 0;)
            written.append(block, static_cast<std::size_t>(length));
    });
    std::cerr.flush();
    const int original = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);

    std::vector<std::thread> threads;
    for (int kind = 0; kind < 4; ++kind)
        threads.emplace_back([kind] {
            KXEvent unknown;
            unknown.eventClass = 1000 + kind;
            for (int i = 0; i < lineCount; ++i)
                const KXSomeEvent holder(unknown);
        });
    for (std::thread& thread : threads)
        thread.join();
    dup2(original, STDERR_FILENO);
    close(original);
    reader.join();
    close(ends[0]);

    std::vector<int> counts(4);
    std::istringstream lines(written);
    for (std::string line; std::getline(lines, line);) {
        const std::string text = "KXSomeEvent(KXEvent &): ERRROR - created from unknown event class 100";
        ASSERT_EQ(line.substr(0, text.size()), text);
        ASSERT_EQ(line.size(), text.size() + 1);
        ++counts.at(static_cast<std::size_t>(line.back() - '0'));
    }
    EXPECT_EQ(counts, std::vector<int>(4, lineCount));
}

} // namespace
} // namespace KX

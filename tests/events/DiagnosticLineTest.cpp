#include "events/DiagnosticLine.h"

#include "events/KXSomeEvent.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <locale>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
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

// Takes what is written, or fails in one of the ways in which an output may.
class Output : public std::streambuf {
public:
    enum Failure { none, refusesText, refusesFlush, throws };

    Failure failure = none;
    std::string text;

private:
    std::streamsize xsputn(const char* characters, std::streamsize size) override {
        if (failure == throws)
            throw std::runtime_error("thrown by the output");
        if (failure == refusesText)
            return 0;
        pending.append(characters, static_cast<std::size_t>(size));
        return size;
    }
    int sync() override {
        const std::string flushed = std::exchange(pending, std::string());
        if (failure == refusesFlush)
            return -1;
        text += flushed;
        return 0;
    }

    std::string pending;
};

TEST(DiagnosticLine, that_is_lost_is_counted_and_told_with_the_next_that_gets_through) {
    const std::string notices[] = {"", "KXAPI_Events: 1 line lost\n", "KXAPI_Events: 2 lines lost\n"};
    for (const auto failure : {Output::refusesText, Output::refusesFlush, Output::throws})
        for (const int lost : {0, 1, 2}) {
            Output output;
            std::ostream stream(&output);
            output.failure = failure;
            for (int i = 0; i < lost; ++i)
                writeLine(stream, {"lost"});
            output.failure = Output::none;
            writeLine(stream, {"next"});
            writeLine(stream, {"then"});
            EXPECT_EQ(output.text, notices[lost] + "next\nthen\n") << "failure " << failure;
        }
}

// The buffer of a file keeps what it could not write and tries again with the next flush.
TEST(DiagnosticLine, that_the_buffer_of_a_file_cannot_write_does_not_come_after_all) {
    const std::string path = testing::TempDir() + "kx-line-" + std::to_string(getpid());
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    std::ofstream stream(path);
    stream << "the application's, ";
    close(reader);
    writeLine(stream, {"lost"});
    writeLine(stream, {"lost as well"});
    reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    writeLine(stream, {"next"});
    writeLine(stream, {"then"});
    char text[200];
    const ssize_t length = read(reader, text, sizeof text);
    EXPECT_EQ(std::string(text, length > 0 ? static_cast<std::size_t>(length) : 0),
              "the application's, KXAPI_Events: 2 lines lost\nnext\nthen\n");
    close(reader);
    unlink(path.c_str());
}

TEST(DiagnosticLine, behind_a_notice_is_in_the_same_insertion_and_as_long_as_ever) {
    Output output;
    std::ostream failing(&output);
    output.failure = Output::refusesText;
    writeLine(failing, {"lost"});
    Insertions insertions;
    std::ostream stream(&insertions);
    const std::string longest(511, 'x');
    writeLine(stream, {longest.c_str(), "y"});
    EXPECT_EQ(insertions.texts, std::vector<std::string>{"KXAPI_Events: 1 line lost\n" + longest + "\n"});
    EXPECT_EQ(insertions.flushes, 1);
}

TEST(DiagnosticLine, leaves_the_state_of_the_stream_to_the_application) {
    Output output;
    std::ostream stream(&output);
    stream.exceptions(std::ios_base::badbit);
    output.failure = Output::refusesText;
    EXPECT_NO_THROW(writeLine(stream, {"lost"}));
    EXPECT_EQ(stream.rdstate(), std::ios_base::goodbit);
    stream.exceptions(std::ios_base::goodbit);
    stream << "lost by the application"
           << "and again, which sets failbit, too";
    const auto bad = stream.rdstate();
    ASSERT_TRUE(stream.bad());
    output.failure = Output::none;
    writeLine(stream, {"next"});
    EXPECT_EQ(output.text, "KXAPI_Events: 1 line lost\nnext\n");
    EXPECT_EQ(stream.rdstate(), bad);
}

TEST(DiagnosticLine, is_not_written_where_the_application_silences_the_stream) {
    Output output;
    std::ostream stream(&output);
    stream.setstate(std::ios_base::failbit);
    writeLine(stream, {"silent"});
    stream.rdbuf(nullptr);
    stream.clear();
    writeLine(stream, {"silent"});
    stream.rdbuf(&output);
    writeLine(stream, {"next"});
    EXPECT_EQ(output.text, "next\n") << "what nobody wants is not lost";
}

TEST(DiagnosticLine, comes_behind_what_a_tied_stream_still_holds) {
    Output output;
    std::ostream standardOutput(&output);
    std::ostream standardError(&output);
    standardError.tie(&standardOutput);
    standardOutput << "before, ";
    writeLine(standardError, {"line"});
    EXPECT_EQ(output.text, "before, line\n");
}

TEST(DiagnosticLine, is_lost_but_does_not_throw_where_the_tied_stream_does) {
    Output output;
    Output failing;
    std::ostream standardOutput(&failing);
    std::ostream standardError(&output);
    standardError.tie(&standardOutput);
    standardOutput << "lost";
    failing.failure = Output::refusesFlush;
    standardOutput.exceptions(std::ios_base::badbit);
    EXPECT_NO_THROW(writeLine(standardError, {"lost"}));
    EXPECT_TRUE(standardOutput.bad()) << "the application's text is lost, which it can see";
    writeLine(standardError, {"next"});
    EXPECT_EQ(output.text, "KXAPI_Events: 1 line lost\nnext\n") << "the tied stream is bad and left alone";
}

// Makes a pipe the file of a descriptor. \return the end for the reader
int redirect(int descriptor) {
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0)
        std::_Exit(2);
    dup2(ends[1], descriptor);
    close(ends[1]);
    return ends[0];
}

bool isPipeSignalFree() {
    sigset_t pending;
    sigset_t blocked;
    sigpending(&pending);
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return !sigismember(&pending, SIGPIPE) && !sigismember(&blocked, SIGPIPE);
}

[[noreturn]] void loseTwoLines(std::ostream& stream, int descriptor) {
    signal(SIGPIPE, SIG_DFL);
    close(redirect(descriptor));
    writeLine(stream, {"lost"});
    writeLine(stream, {"lost as well"});
    const int reader = redirect(descriptor);
    writeLine(stream, {"next"});
    writeLine(stream, {"then"});
    char text[200];
    const ssize_t length = read(reader, text, sizeof text);
    const bool isTold = std::string(text, length > 0 ? static_cast<std::size_t>(length) : 0) ==
                        "KXAPI_Events: 2 lines lost\nnext\nthen\n";
    std::_Exit(isTold && isPipeSignalFree() ? 0 : 1);
}

TEST(DiagnosticLineDeathTest, whose_reader_has_gone_does_not_end_the_program_and_is_counted) {
    EXPECT_EXIT(loseTwoLines(std::cout, STDOUT_FILENO), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(loseTwoLines(std::cerr, STDERR_FILENO), testing::ExitedWithCode(0), "");
}

// \return what the pipe has now
std::string takeAll(int reader) {
    fcntl(reader, F_SETFL, O_NONBLOCK);
    std::string all;
    char text[4096];
    for (ssize_t length = 0; (length = read(reader, text, sizeof text)) > 0;)
        all.append(text, static_cast<std::size_t>(length));
    return all;
}

[[noreturn]] void writeIntoFullPipe(bool isSynchronised) {
    std::ios_base::sync_with_stdio(isSynchronised);
    alarm(60); // ends a line that waits for ever
    const int reader = redirect(STDERR_FILENO);
    fcntl(STDERR_FILENO, F_SETFL, O_NONBLOCK);
    const std::string block(4096, 'x');
    while (write(STDERR_FILENO, block.data(), block.size()) > 0) {
    }
    fcntl(STDERR_FILENO, F_SETFL, 0);
    for (int i = 0; i < 1000; ++i)
        writeLine(std::cerr, {"lost"});
    std::ostringstream other;
    std::streambuf* const own = std::cerr.rdbuf(other.rdbuf());
    writeLine(std::cerr, {"elsewhere"});
    std::cerr.rdbuf(own);
    writeLine(std::cerr, {"lost"});
    const bool isUnmixed = takeAll(reader).find_first_not_of('x') == std::string::npos;
    writeLine(std::cerr, {"next"});
    const bool isTold = takeAll(reader) == "KXAPI_Events: 1 line lost\nnext\n" &&
                        other.str() == "KXAPI_Events: 1000 lines lost\nelsewhere\n";
    std::_Exit(isUnmixed && isTold ? 0 : 1);
}

TEST(DiagnosticLineDeathTest, on_standard_error_does_not_wait_for_ever_for_a_reader) {
    EXPECT_EXIT(writeIntoFullPipe(true), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(writeIntoFullPipe(false), testing::ExitedWithCode(0), "");
}

TEST(DiagnosticLineDeathTest, lost_on_standard_output_is_not_told_on_standard_error) {
    const auto loseOne = [] {
        close(redirect(STDOUT_FILENO));
        writeLine(std::cout, {"lost"});
        writeLine(std::cerr, {"next"});
        std::_Exit(0);
    };
    EXPECT_EXIT(loseOne(), testing::ExitedWithCode(0), "^next\n$");
}

// Without the C library's buffer. Lines on standard error flush what they are tied to.
[[noreturn]] void writeByThreads() {
    constexpr int lineCount = 10000;
    std::ios_base::sync_with_stdio(false);
    const int reader = redirect(STDOUT_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDERR_FILENO);
    std::string written;
    std::thread taker([&] {
        char block[4096];
        for (ssize_t length = 0; (length = read(reader, block, sizeof block)) > 0;)
            written.append(block, static_cast<std::size_t>(length));
    });
    std::vector<std::thread> threads;
    for (int kind = 0; kind < 4; ++kind)
        threads.emplace_back([kind] {
            for (int i = 0; i < lineCount; ++i) {
                writeLine(std::cout, {"of thread ", kind});
                writeLine(std::cerr, {"nowhere"});
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    dup2(nowhere, STDOUT_FILENO);
    taker.join();
    std::map<std::string, int> counts;
    std::istringstream lines(written);
    for (std::string line; std::getline(lines, line);)
        ++counts[line];
    const std::map<std::string, int> expected = {{"of thread 0", lineCount},
                                                 {"of thread 1", lineCount},
                                                 {"of thread 2", lineCount},
                                                 {"of thread 3", lineCount}};
    std::_Exit(counts == expected ? 0 : 1);
}

TEST(DiagnosticLineDeathTest, of_several_threads_is_whole_without_the_buffer_of_the_c_library) {
    EXPECT_EXIT(writeByThreads(), testing::ExitedWithCode(0), "");
}

bool isSleeping(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(file, text);
    return text.find(") S ") != std::string::npos;
}

[[noreturn]] void writeBesideABlockedOutput(bool isSynchronised) {
    std::ios_base::sync_with_stdio(isSynchronised);
    alarm(60); // ends a line that waits for ever
    redirect(STDOUT_FILENO);
    fcntl(STDOUT_FILENO, F_SETFL, O_NONBLOCK);
    const std::string block(4096, 'x');
    while (write(STDOUT_FILENO, block.data(), block.size()) > 0) {
    }
    fcntl(STDOUT_FILENO, F_SETFL, 0);
    std::atomic<pid_t> blocked{0};
    std::thread([&] {
        blocked = gettid();
        writeLine(std::cout, {"waits for its reader"});
    }).detach();
    while (blocked == 0 || !isSleeping(blocked))
        std::this_thread::yield();
    const int reader = redirect(STDERR_FILENO);
    writeLine(std::cerr, {"does not"});
    std::_Exit(takeAll(reader) == "does not\n" ? 0 : 1);
}

TEST(DiagnosticLineDeathTest, on_standard_error_does_not_wait_for_a_line_on_standard_output) {
    EXPECT_EXIT(writeBesideABlockedOutput(true), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(writeBesideABlockedOutput(false), testing::ExitedWithCode(0), "");
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

// How long a line on standard error waits for room. The test decides what the system says about room.

#include "events/DiagnosticLine.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

struct pollfd;

namespace {

enum Answer : int { Interrupted = -1, NoRoom = 0, Room = 1 };

// What comes next; empty: the system's own answer.
std::vector<Answer> answers;
std::vector<int> timeouts; // of the questions

} // namespace

// Takes the place of the system's call.
extern "C" int poll(pollfd* queries, unsigned long count, int timeoutMs) {
    static const auto system = reinterpret_cast<int (*)(pollfd*, unsigned long, int)>(dlsym(RTLD_NEXT, "poll"));
    if (answers.empty())
        return system(queries, count, timeoutMs);
    const Answer answer = answers.front();
    answers.erase(answers.begin());
    timeouts.push_back(timeoutMs);
    errno = answer == Interrupted ? EINTR : 0;
    return answer;
}

namespace KX {
namespace {

// \return what a reader of standard error gets
std::string writeLines(std::vector<Answer> comingAnswers, int lines) {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_NONBLOCK) != 0)
        std::_Exit(2);
    dup2(ends[1], STDERR_FILENO);
    answers = std::move(comingAnswers);
    timeouts.clear();
    for (int i = 1; i <= lines; ++i)
        writeLine(std::cerr, {i});
    char text[300];
    const ssize_t length = read(ends[0], text, sizeof text);
    return std::string(text, length > 0 ? static_cast<std::size_t>(length) : 0);
}

using Timeouts = std::vector<int>;

[[noreturn]] void waitOnce() {
    const bool isTold = writeLines({NoRoom, NoRoom, Room, NoRoom, Room}, 5) ==
                        "KXAPI_Events: 2 lines lost\n3\nKXAPI_Events: 1 line lost\n5\n";
    std::_Exit(isTold && timeouts == Timeouts({100, 0, 0, 100, 0}) ? 0 : 1);
}

[[noreturn]] void waitInterrupted() {
    const bool isTold =
        writeLines({Interrupted, NoRoom, Interrupted, Room}, 2) == "KXAPI_Events: 1 line lost\n2\n";
    std::_Exit(isTold && timeouts == Timeouts({100, 0, 0, 0}) ? 0 : 1);
}

TEST(DiagnosticLineRoomDeathTest, is_waited_for_once_until_a_line_gets_through) {
    EXPECT_EXIT(waitOnce(), testing::ExitedWithCode(0), "");
}

TEST(DiagnosticLineRoomDeathTest, is_looked_for_once_more_behind_a_signal) {
    EXPECT_EXIT(waitInterrupted(), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace KX

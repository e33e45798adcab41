#include "recording/KXSessionRecorder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <unistd.h>

namespace KX::test {
namespace {

constexpr char line[] = "KXSessionRecorder: another recorder observes the session; this one records nothing\n";

// \return the end for the reader
int redirectErrors() {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_NONBLOCK) != 0)
        std::_Exit(2);
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
    return ends[0];
}

[[noreturn]] void recordWithoutReader() {
    signal(SIGPIPE, SIG_DFL);
    std::cerr.exceptions(std::ios_base::badbit);
    const KXSessionRecorder observing;
    close(redirectErrors());
    const KXSessionRecorder lost;
    const int reader = redirectErrors();
    const KXSessionRecorder told;
    char text[300];
    const ssize_t length = read(reader, text, sizeof text);
    const bool isTold = std::string(text, length > 0 ? static_cast<std::size_t>(length) : 0) ==
                        std::string("KXAPI_Events: 1 line lost\n") + line;
    std::_Exit(isTold && std::cerr.good() ? 0 : 1);
}

TEST(RecorderLinesDeathTest, whose_reader_has_gone_do_not_end_the_program_and_are_counted) {
    EXPECT_EXIT(recordWithoutReader(), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace KX::test

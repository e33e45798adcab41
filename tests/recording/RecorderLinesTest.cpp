#include "tests/recording/RecorderFixture.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
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

class RecorderLinesTest : public RecorderFixture {
protected:
    // \return the path of a file in a new folder, so many characters long
    std::string pathOf(std::size_t length) const {
        std::string made = folder.string();
        while (length - made.size() > 150) {
            made += "/" + std::string(100, 'f');
            std::filesystem::create_directory(made);
        }
        return made + "/" + std::string(length - made.size() - 1, 'r');
    }

    // \return what is printed about a recording that was removed
    std::string lineAbout(const std::string& removed) const {
        testing::internal::CaptureStderr();
        KXSessionRecorder recorder;
        EXPECT_TRUE(recorder.start(removed)) << recorder.problem();
        std::filesystem::remove(removed);
        KXSimulation::advance(1100);
        EXPECT_FALSE(recorder.stop());
        return testing::internal::GetCapturedStderr();
    }
};

TEST_F(RecorderLinesTest, a_long_path_loses_its_middle_so_that_the_end_tells_what_happened) {
    KXInputEventManager::createInstance();
    const std::string said = ": the file was removed; the recording ends here";
    for (const std::size_t length : {459u, 460u, 461u, 600u}) {
        const std::string text = pathOf(length - said.size()) + said;
        const bool isWhole = length <= 460;
        EXPECT_EQ("KXSessionRecorder: " +
                      (isWhole ? text : text.substr(0, 230) + "..." + text.substr(length - 230)) + "\n",
                  lineAbout(text.substr(0, length - said.size())));
    }
}

} // namespace
} // namespace KX::test

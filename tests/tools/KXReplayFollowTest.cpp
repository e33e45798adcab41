// Follows recordings while they grow. Each read waits for the events, so no test depends on time.

#include "PipedProgram.h"
#include "ToolProgram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <iterator>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

const std::string head = "kxrecording 2\n1000 pass\n";
const std::string press = " toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n";
const std::string release = " toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n";

void append(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::app) << text;
}

TEST(KXReplayFollow, PrintsAnEventAsSoonAsItsInputIsRead) {
    PipedProgram program(KXREPLAY, {"--follow", "-"});
    program.write(head + "1010" + press);
    EXPECT_THAT(program.readLine(), StartsWith("1010 KEY_PRESS_EVENT "));
    program.write("1090" + release);
    EXPECT_THAT(program.readLine(), StartsWith("1090 KEY_RELEASE_EVENT "));
}

TEST(KXReplayFollow, WaitsForTheRestOfAHalfLine) {
    PipedProgram program(KXREPLAY, {"--follow", "-"});
    program.write(head + "1010" + press);
    EXPECT_THAT(program.readLine(), StartsWith("1010 "));
    const std::string line = "1290" + press;
    program.write(line.substr(0, 12));
    program.write(line.substr(12));
    EXPECT_THAT(program.readLine(), StartsWith("1290 KEY_DOUBLE_PRESS_EVENT "));
}

TEST(KXReplayFollow, EndsAtTheEndLineAlthoughThePipeIsOpen) {
    PipedProgram program(KXREPLAY, {"--follow", "-"});
    program.write(head + "1010" + press + "1020 end\n");
    EXPECT_THAT(program.readLine(), StartsWith("1010 "));
    EXPECT_EQ("(end)", program.readLine());
    EXPECT_EQ(0, program.wait());
}

TEST(KXReplayFollow, EndsWhereThePipeEnds) {
    PipedProgram program(KXREPLAY, {"--follow", "-"});
    program.write(head + "1010" + press + "10");
    program.closeInput();
    EXPECT_THAT(program.readLine(), StartsWith("1010 "));
    EXPECT_EQ("(end)", program.readLine());
    EXPECT_EQ(0, program.wait());
}

TEST(KXReplayFollow, EndsAtASignalWithItsUsualStatus) {
    for (const int signal : {SIGINT, SIGTERM}) {
        PipedProgram program(KXREPLAY, {"--follow", "-"});
        program.write(head + "1010" + press);
        EXPECT_THAT(program.readLine(), StartsWith("1010 "));
        program.raise(signal);
        EXPECT_EQ("(end)", program.readLine());
        EXPECT_EQ(128 + signal, program.wait());
    }
}

/// Follows a pipe that has lines of a newer version. Its standard error goes to a file.
class KXReplayFollowOfANewerVersion : public testing::Test {
protected:
    KXReplayFollowOfANewerVersion() {
        program.write(head + "1005 brew\n1010" + press + "1020 brew\n1030" + release);
        EXPECT_THAT(program.readLine(), StartsWith("1010 "));
        EXPECT_THAT(program.readLine(), StartsWith("1030 "));
    }

    std::string errors() const {
        std::ifstream file(errorFile);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const TestFolder folder;
    const std::string errorFile = folder / "errors";
    PipedProgram program{"/bin/sh", {"-c", "exec '" KXREPLAY "' --follow - 2>'" + errorFile + "'"}};
    const std::string warning = "standard input:3: the line 'brew' is not known (the first of 2); what a newer "
                                "version has added is left out\n";
};

TEST_F(KXReplayFollowOfANewerVersion, IsWarnedOfAtTheEndLine) {
    program.write("1040 end\n");
    EXPECT_EQ(0, program.wait());
    EXPECT_EQ(warning, errors());
}

TEST_F(KXReplayFollowOfANewerVersion, IsWarnedOfAtTheEndOfThePipe) {
    program.closeInput();
    EXPECT_EQ(0, program.wait());
    EXPECT_EQ(warning, errors());
}

TEST_F(KXReplayFollowOfANewerVersion, IsWarnedOfAtASignal) {
    program.write("1040 half a line");
    program.raise(SIGINT);
    EXPECT_EQ(128 + SIGINT, program.wait());
    EXPECT_EQ(warning, errors()) << "and nothing of a cut line, which may still be written";
}

TEST(KXReplayFollow, FollowsAFileThatGrows) {
    const TestFolder folder;
    const std::string file = folder.write("day.kxr", head + "1010" + press);
    PipedProgram program(KXREPLAY, {"--follow", file, "--json"});
    EXPECT_THAT(program.readLine(), StartsWith("{\"time\":1010,"));
    append(file, "1290" + press);
    EXPECT_THAT(program.readLine(), HasSubstr("\"name\":\"KEY_DOUBLE_PRESS_EVENT\""));
    append(file, "1300 end\n");
    EXPECT_EQ("(end)", program.readLine());
    EXPECT_EQ(0, program.wait());
}

TEST(KXReplayFollow, EndsWhenTheFileIsEmptied) {
    const TestFolder folder;
    const std::string file = folder.write("day.kxr", head + "1010" + press);
    PipedProgram program(KXREPLAY, {"--follow", file});
    EXPECT_THAT(program.readLine(), StartsWith("1010 "));
    folder.write("day.kxr", "");
    EXPECT_EQ("(end)", program.readLine());
    EXPECT_EQ(2, program.wait());
}

TEST(KXReplayFollow, MakesThePassesOfARecordingWithoutThem) {
    PipedProgram program(KXREPLAY, {"--follow", "-", "--long-press", "500"});
    program.write("kxrecording 2\n1000" + press + "2001" + release);
    EXPECT_THAT(program.readLine(), StartsWith("1000 KEY_PRESS_EVENT "));
    EXPECT_THAT(program.readLine(), StartsWith("1500 KEY_LONG_PRESS_EVENT "));
}

TEST(KXReplayFollow, GivesTheEventsOfAPlayOfTheWholeFile) {
    for (const char* const name :
         {"minute", "key-double-300", "keypad-long-press", "encoder-reversal-in-bundle"}) {
        const std::string file = std::string(KX_RECORDINGS) + "/" + name + ".kxr";
        PipedProgram whole(KXREPLAY, {file});
        PipedProgram followed(KXREPLAY, {"--follow", file});
        const std::string expected = whole.readAll();
        EXPECT_NE("", expected);
        EXPECT_EQ(expected, followed.readAll()) << name;
    }
}

} // namespace

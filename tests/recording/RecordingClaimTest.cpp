// Two writers open one path at the same moment. The second one finds the file that the first one has just made.

#include "platform/simulated/KXSimulation.h"
#include "recording/KXSessionRecorder.h"
#include "recording/format/RecordingFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace {

std::function<void()> otherWriter; // comes when the next file is made, but not locked yet

} // namespace

// Takes the place of the system's call.
extern "C" int flock(int descriptor, int operation) {
    if (const auto comes = std::exchange(otherWriter, nullptr))
        comes();
    return static_cast<int>(syscall(SYS_flock, descriptor, operation));
}

namespace {

using namespace KX::Recording;

class RecordingClaimTest : public testing::Test {
protected:
    RecordingClaimTest() : path(testing::TempDir() + "kx-claim-" + std::to_string(getpid()) + ".kxr") {}
    ~RecordingClaimTest() override { std::filesystem::remove(path); }

    std::string refusal() {
        try {
            const File file(path);
            return "none";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }

    const std::string path;
};

TEST_F(RecordingClaimTest, ThatComesTooLateLeavesTheOtherOneItsFile) {
    std::unique_ptr<File> other;
    otherWriter = [&] { other = std::make_unique<File>(path); };
    EXPECT_EQ(path + ": another recording is being written into it", refusal());
    EXPECT_FALSE(other->isGone());
    EXPECT_TRUE(other->finish());
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(RecordingClaimTest, ThatComesBehindTheOthersEndLeavesItsRecording) {
    otherWriter = [&] { EXPECT_TRUE(File(path).finish()); };
    EXPECT_EQ(path + ": the file exists and is not overwritten", refusal());
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(RecordingClaimTest, InAFolderThatIsMovedMeanwhileIsMade) {
    const std::string folder = path + ".folder";
    std::filesystem::create_directory(folder);
    otherWriter = [&] { std::filesystem::rename(folder, folder + ".moved"); };
    File file(folder + "/day.kxr");
    EXPECT_TRUE(file.finish());
    EXPECT_TRUE(std::filesystem::exists(folder + ".moved/day.kxr"));
    std::filesystem::remove_all(folder + ".moved");
}

// The application goes on while a file is made.
TEST_F(RecordingClaimTest, OfARecorderThatAnotherThreadHasStartedMeanwhileLeavesNoFile) {
    const std::string faster = path + ".faster";
    KX::KXSimulation::reset();
    KX::KXSessionRecorder recorder;
    otherWriter = [&] { EXPECT_TRUE(recorder.start(faster)) << recorder.problem(); };
    EXPECT_FALSE(recorder.start(path));
    EXPECT_EQ(path + ": a recording goes on", recorder.problem());
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(recorder.isRecording());
    EXPECT_TRUE(recorder.stop()) << recorder.problem();
    EXPECT_TRUE(std::filesystem::remove(faster));
}

} // namespace

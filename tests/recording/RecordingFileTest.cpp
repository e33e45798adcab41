// Written entries are in the file whatever happens to the writer.

#include "recording/format/RecordingFile.h"

#include "RecordingText.h"
#include "recording/KXFunctionKeys.h"
#include "recording/KXKeyLayout.h"
#include "tests/recording/FullDisk.h"
#include "tests/support/ClosedOutputs.h"
#include "tests/support/LineCounts.h"
#include "tests/support/RecordingComparison.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

int errorOfSync = 0;    // 0: works
ino_t syncedFolder = 0; // the last one; 0: none

} // namespace

// Takes the place of the system's call, so that it can fail.
extern "C" int fsync(int descriptor) {
    struct stat state {};
    if (fstat(descriptor, &state) == 0 && S_ISDIR(state.st_mode))
        syncedFolder = state.st_ino;
    if (errorOfSync == 0)
        return fdatasync(descriptor);
    errno = errorOfSync;
    return -1;
}

namespace {

using namespace KX::Recording;
using KX::Recording::test::Outcome;
using KX::Recording::test::outcomeOf;
using KX::test::Disk;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

const std::string head = "kxrecording 2\n# written by KXAPI_Recording " KXAPI_VERSION "\n";

// Writes each entry at once, as a recorder does.
class EntryFile : public File {
public:
    using File::File;

    bool write(unsigned int tick, const Input& input) {
        Entry entry;
        lastMs = entry.timeMs = continueTime(tick, lastMs);
        entry.input = input;
        add(entry);
        return flush();
    }

private:
    std::optional<std::uint64_t> lastMs;
};

class RecordingFileTest : public testing::Test {
protected:
    RecordingFileTest() {
        std::string pattern = testing::TempDir() + "kx-recording-XXXXXX";
        folder = mkdtemp(pattern.data());
        path = folder / "day.kxr";
    }

    ~RecordingFileTest() override { std::filesystem::remove_all(folder); }

    std::string content() const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    static std::string refusalOf(const std::string& name) {
        try {
            const File file(name);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "it was made";
    }

    std::filesystem::path folder;
    std::filesystem::path path;
};

// Runs \p work in a separate process until \p isEnough, then kills it.
void killInTheMiddle(const std::function<void()>& work, const std::function<bool()>& isEnough) {
    const pid_t child = fork();
    if (child == 0) {
        work();
        _exit(1); // the process should have been killed
    }
    ASSERT_GT(child, 0);
    int status = 0;
    while (!isEnough() && waitpid(child, &status, WNOHANG) == 0)
        std::this_thread::yield();
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
}

// How many write calls the process has made; nothing where the system does not count them.
std::optional<long> countOfWrites() {
    std::ifstream accounts("/proc/self/io");
    for (std::string name; accounts >> name;) {
        long count = 0;
        accounts >> count;
        if (name == "syscw:")
            return count;
    }
    return std::nullopt;
}

} // namespace

TEST_F(RecordingFileTest, BeginsWithTheVersionAndTheWriter) {
    const File file(path);
    EXPECT_EQ(head, content());
    EXPECT_EQ(std::nullopt, file.problem());
}

TEST_F(RecordingFileTest, EachEntryIsThereAsSoonAsItIsWritten) {
    EntryFile file(path);
    EXPECT_TRUE(file.write(5, Pass()));
    EXPECT_EQ(head + "5 pass\n", content());
    EXPECT_TRUE(file.write(5, NumberSetting{KX::KXInputSetting::EncoderLowPassFactor, 3}));
    EXPECT_EQ(head + "5 pass\n5 set low-pass 3\n", content());
    EXPECT_TRUE(file.write(6, End()));
    EXPECT_EQ(head + "5 pass\n5 set low-pass 3\n6 end\n", content());
}

TEST_F(RecordingFileTest, EachLineIsOneWrite) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer writes, too";
#endif
    EntryFile file(path);
    const std::optional<long> before = countOfWrites();
    if (!before)
        GTEST_SKIP() << "this system does not count writes";
    for (unsigned int tick = 0; tick < 100; ++tick)
        file.write(tick, SpeedTable{std::vector<KX::KXEncoderDynamicPair>(500, {1, 1})});
    EXPECT_EQ(100, *countOfWrites() - *before);
}

TEST_F(RecordingFileTest, TheWidestKeyMappingIsWrittenInLinesThatAReaderTakes) {
    KeyMapping mapping;
    for (int i = 0; i < 10000; ++i)
        mapping.keyCodeOfToolkitKey[-1 - i] = std::numeric_limits<int>::min() + i;
    EntryFile file(path);
    EXPECT_TRUE(file.write(5, mapping));
    const Outcome outcome = outcomeOf(content());
    EXPECT_EQ("", outcome.error);
    KeyMapping read;
    for (const Entry& entry : outcome.session.entries)
        read.keyCodeOfToolkitKey.merge(std::get<KeyMapping>(Input(entry.input)).keyCodeOfToolkitKey);
    EXPECT_EQ(mapping.keyCodeOfToolkitKey, read.keyCodeOfToolkitKey);
}

TEST_F(RecordingFileTest, AKeyMappingHasUpTo2500KeysInALine) {
    for (const int size : {2499, 2500, 2501, 5000, 5001}) {
        std::filesystem::remove(path);
        KeyMapping mapping;
        for (int i = 0; i < size; ++i)
            mapping.keyCodeOfToolkitKey[i] = i + 7;
        EntryFile file(path);
        EXPECT_TRUE(file.write(5, mapping));
        KeyMapping read;
        const Outcome outcome = outcomeOf(content());
        for (const Entry& entry : outcome.session.entries)
            read.keyCodeOfToolkitKey.merge(std::get<KeyMapping>(Input(entry.input)).keyCodeOfToolkitKey);
        EXPECT_THAT(outcome.session.entries, SizeIs((size + 2499) / 2500)) << size;
        EXPECT_EQ(mapping.keyCodeOfToolkitKey, read.keyCodeOfToolkitKey) << size;
    }
}

TEST_F(RecordingFileTest, ALineThatNoReaderTakesEndsIt) {
    // "5 set speed-table" and 4 characters a row, the last one 7: 1048576 together.
    SpeedTable table{std::vector<KX::KXEncoderDynamicPair>(262138, {1, 1})};
    table.rows.push_back({1000, 1});
    EntryFile file(path);
    EXPECT_TRUE(file.write(5, table));
    EXPECT_EQ(head.size() + 1048576 + 1, content().size());
    EXPECT_EQ("", outcomeOf(content()).error);
    table.rows.back() = {10000, 1};
    EXPECT_FALSE(file.write(5, table));
    EXPECT_EQ(path.string() + ": a line would be longer than 1048576 characters", file.problem());
    EXPECT_EQ("", outcomeOf(content()).error) << "nothing of it is in the file";
}

TEST_F(RecordingFileTest, TheTimeOfFramesGoesOnWhereTheTickWraps) {
    EntryFile file(path);
    EXPECT_TRUE(file.write(4294967295, Frame{"can0", {}}));
    EXPECT_TRUE(file.write(1, Frame{"can0", {}}));
    EXPECT_TRUE(file.write(2, Pass()));
    EXPECT_EQ(head + "(0004294967.295000) can0 000#0000000000000000\n"
                     "(0004294967.297000) can0 000#0000000000000000\n2 pass\n",
              content());
}

TEST_F(RecordingFileTest, WhatIsThereIsNotOverwritten) {
    std::ofstream(path) << "x";
    EXPECT_EQ(path.string() + ": the file exists and is not overwritten", refusalOf(path));
    EXPECT_EQ("x", content());
}

TEST_F(RecordingFileTest, WhatIsThereIsNotOverwrittenHoweverLargeItIs) {
    constexpr std::uintmax_t mostIn32Bits = 0x7FFFFFFF;
    for (const std::uintmax_t size : {mostIn32Bits, mostIn32Bits + 1}) {
        std::ofstream(path) << "x";
        std::filesystem::resize_file(path, size); // uses no space on the disk
        EXPECT_EQ(path.string() + ": the file exists and is not overwritten", refusalOf(path)) << size;
        EXPECT_EQ(size, std::filesystem::file_size(path));
    }
}

TEST_F(RecordingFileTest, AnEmptyFileIsTaken) {
    std::ofstream(path).close();
    EXPECT_EQ("it was made", refusalOf(path));
    EXPECT_EQ(head, content());
}

TEST_F(RecordingFileTest, TellsWhyItCannotBeMade) {
    EXPECT_EQ((folder / "none" / "day.kxr").string() + ": No such file or directory",
              refusalOf(folder / "none" / "day.kxr"));
    EXPECT_EQ(folder.string() + ": Is a directory", refusalOf(folder));
    EXPECT_EQ("/dev/full: No space left on device", refusalOf("/dev/full"));
}

TEST_F(RecordingFileTest, ADeviceTakesIt) {
    EXPECT_EQ("it was made", refusalOf("/dev/null"));
}

// A program that has closed its standard input gets descriptor 0 for what it opens next.
TEST_F(RecordingFileTest, MayHaveDescriptor0) {
    const int standardInput = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100);
    for (const bool isFinished : {true, false}) {
        close(STDIN_FILENO);
        {
            EntryFile file(path);
            EXPECT_TRUE(file.write(1000, Pass()));
            EXPECT_EQ(content(), head + "1000 pass\n");
            if (isFinished)
                EXPECT_TRUE(file.finish());
            else
                file.discard();
        }
        EXPECT_EQ(fcntl(0, F_GETFD), -1) << "closed";
        EXPECT_EQ(std::filesystem::exists(path), isFinished);
        std::filesystem::remove(path);
    }
    if (standardInput >= 0)
        dup2(standardInput, STDIN_FILENO);
    close(standardInput);
}

TEST_F(RecordingFileTest, AProgramThatIsExecutedGetsNoneOfIt) {
    const EntryFile file(path);
    struct stat wanted {};
    ASSERT_EQ(0, stat(path.c_str(), &wanted));
    int found = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        struct stat state {};
        if (fstat(descriptor, &state) != 0 || state.st_dev != wanted.st_dev || state.st_ino != wanted.st_ino)
            continue;
        ++found;
        EXPECT_EQ(FD_CLOEXEC, fcntl(descriptor, F_GETFD));
    }
    EXPECT_EQ(1, found);
}

// A line that the program writes to a closed output must not go into a recording.
TEST_F(RecordingFileTest, TakesNoClosedOutput) {
    bool areFree = false;
    {
        const KX::test::ClosedOutputs closed;
        const EntryFile file(path);
        areFree = closed.areFree();
    }
    EXPECT_TRUE(areFree);
}

TEST_F(RecordingFileTest, AnErrorOfAnEarlierCallDoesNotMatter) {
    for (const int error : {EWOULDBLOCK, EINTR, EEXIST, EINVAL, ENOENT}) {
        errno = error;
        EntryFile file(path);
        errno = error;
        EXPECT_TRUE(file.write(1000, Pass())) << error;
        EXPECT_EQ(content(), head + "1000 pass\n") << error;
        errno = error;
        EXPECT_TRUE(file.finish()) << error;
        std::filesystem::remove(path);
    }
}

TEST_F(RecordingFileTest, APipeThatNobodyReadsIsRefused) {
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    EXPECT_EQ(path.string() + ": nobody reads this pipe", refusalOf(path));
}

TEST_F(RecordingFileTest, APipeTakesItAndWaitsForItsReader) {
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    fcntl(reader, F_SETFL, 0);
    auto file = std::make_unique<EntryFile>(path);
    std::thread writer([&file] {
        // More than a pipe can hold.
        for (unsigned int tick = 10000; tick < 30000; ++tick)
            EXPECT_TRUE(file->write(tick, Pass()));
        file.reset(); // the reader sees the end
    });
    std::size_t count = 0;
    std::array<char, 4096> buffer{};
    for (ssize_t size = read(reader, buffer.data(), buffer.size()); size > 0;
         size = read(reader, buffer.data(), buffer.size()))
        count += static_cast<std::size_t>(size);
    writer.join();
    close(reader);
    EXPECT_EQ(head.size() + 20000 * std::string("10000 pass\n").size(), count);
}

TEST_F(RecordingFileTest, APipeWhoseReaderHasEndedFailsAndEndsNoProgram) {
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EntryFile file(path);
    EXPECT_TRUE(file.write(5, Pass()));
    close(reader);
    EXPECT_FALSE(file.write(6, Pass()));
    EXPECT_EQ(path.string() + ": Broken pipe", file.problem());
    sigset_t pending;
    sigpending(&pending);
    EXPECT_FALSE(sigismember(&pending, SIGPIPE));
    EXPECT_TRUE(std::filesystem::exists(path)) << "the pipe is not the recorder's";
}

TEST_F(RecordingFileTest, APipeCannotTakeBackWhatItHas) {
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EntryFile file(path);
    EXPECT_TRUE(file.write(5, Pass()));
    EXPECT_FALSE(file.restart());
    EXPECT_EQ(path.string() + ": cannot begin anew: Invalid argument", file.problem());
    close(reader);
}

TEST_F(RecordingFileTest, APipeThatIsRemovedGoesOnAsLongAsItIsRead) {
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EntryFile file(path);
    std::filesystem::remove(path);
    EXPECT_FALSE(file.isGone());
    EXPECT_TRUE(file.startSync()) << "it needs no disk";
    EXPECT_TRUE(file.write(5, Pass()));
    EXPECT_TRUE(file.finish());
    EXPECT_EQ(std::nullopt, file.problem());
    close(reader);
}

TEST_F(RecordingFileTest, AFileThatBeginsAnewIsAsNew) {
    EntryFile file(path);
    EXPECT_TRUE(file.write(5, Pass()));
    EXPECT_TRUE(file.restart());
    EXPECT_EQ(head, content());
    EXPECT_TRUE(file.write(6, Pass()));
    EXPECT_EQ(head + "6 pass\n", content());
}

TEST_F(RecordingFileTest, OnlyItsOwnerMayReadItWhateverTheProcessLetsOthersDo) {
    const mode_t before = umask(0);
    EXPECT_EQ("it was made", refusalOf(path));
    umask(before);
    EXPECT_EQ(std::filesystem::perms(0600), std::filesystem::status(path).permissions());
}

TEST_F(RecordingFileTest, AnEmptyFileThatOthersMayReadIsTheOwnersAloneFromThenOn) {
    std::ofstream(path).close();
    std::filesystem::permissions(path, std::filesystem::perms(0644));
    EXPECT_EQ("it was made", refusalOf(path));
    EXPECT_EQ(std::filesystem::perms(0600), std::filesystem::status(path).permissions());
}

TEST_F(RecordingFileTest, AnEmptyFileLosesWhateverOthersMayDoWithIt) {
    for (unsigned int right = 1; right <= 040; right *= 2) {
        std::filesystem::remove(path);
        std::ofstream(path).close();
        std::filesystem::permissions(path, std::filesystem::perms(0600 | right));
        EXPECT_EQ("it was made", refusalOf(path));
        EXPECT_EQ(std::filesystem::perms(0600), std::filesystem::status(path).permissions()) << right;
    }
}

TEST_F(RecordingFileTest, AnEmptyFileOfAnotherUserIsRefused) {
    std::ofstream(path).close();
    constexpr uid_t another = 12345;
    if (chown(path.c_str(), another, static_cast<gid_t>(-1)) != 0)
        GTEST_SKIP() << "only root can give files away";
    EXPECT_EQ(path.string() + ": it belongs to another user, who could read the recording", refusalOf(path));
    EXPECT_EQ("", content());
}

TEST_F(RecordingFileTest, ASymbolicLinkIsNotFollowed) {
    const std::filesystem::path target = folder / "target";
    const std::string refusal = path.string() + ": it is a symbolic link, which is not followed";
    std::filesystem::create_symlink(target, path);
    EXPECT_EQ(refusal, refusalOf(path));
    EXPECT_FALSE(std::filesystem::exists(target));
    std::ofstream(target).close();
    EXPECT_EQ(refusal, refusalOf(path));
    EXPECT_EQ(0U, std::filesystem::file_size(target));
}

TEST_F(RecordingFileTest, AFolderMayBeASymbolicLink) {
    std::filesystem::create_directory(folder / "there");
    std::filesystem::create_symlink(folder / "there", folder / "link");
    EXPECT_EQ("it was made", refusalOf(folder / "link" / "day.kxr"));
    EXPECT_TRUE(std::filesystem::exists(folder / "there" / "day.kxr"));
}

TEST_F(RecordingFileTest, FoldersThatAreLinksToEachOtherAreToldAsTheSystemDoes) {
    std::filesystem::create_symlink(folder / "other", folder / "one");
    std::filesystem::create_symlink(folder / "one", folder / "other");
    EXPECT_EQ((folder / "one" / "day.kxr").string() + ": Too many levels of symbolic links",
              refusalOf(folder / "one" / "day.kxr"));
}

TEST_F(RecordingFileTest, ASecondWriterIsTold) {
    EntryFile file(path);
    const std::string refusal = path.string() + ": another recording is being written into it";
    EXPECT_EQ(refusal, refusalOf(path));
    std::filesystem::resize_file(path, 0);
    EXPECT_EQ(refusal, refusalOf(path)) << "also while it is empty";
    EXPECT_TRUE(file.write(5, Pass())) << "the first one goes on";
    EXPECT_TRUE(file.finish());
    std::filesystem::resize_file(path, 0);
    EXPECT_EQ("it was made", refusalOf(path)) << "the first one has ended";
}

TEST_F(RecordingFileTest, AFullDiskEndsIt) {
    const Disk disk(head.size() + 10);
    EntryFile file(path);
    EXPECT_TRUE(file.write(5, Pass()));
    EXPECT_FALSE(file.write(6, Pass()));
    EXPECT_EQ(path.string() + ": File too large", file.problem());
    EXPECT_EQ(head + "5 pass\n6 p", content());
    const Outcome outcome = outcomeOf(content());
    EXPECT_EQ("", outcome.error);
    EXPECT_THAT(outcome.session.entries, SizeIs(1));
    EXPECT_THAT(outcome.warnings, ElementsAre("day.kxr:4: the last line is cut off; it is left out"));
}

TEST_F(RecordingFileTest, AFullDiskTakesWhatFits) {
    const std::string line = "5 pass\n";
    for (std::size_t room = 0; room <= line.size(); ++room) {
        std::filesystem::remove(path);
        const Disk disk(head.size() + room);
        EntryFile file(path);
        errno = 0;
        const bool isWhole = file.write(5, Pass());
        EXPECT_EQ(room == line.size(), isWhole) << room;
        EXPECT_EQ(isWhole ? "" : path.string() + ": File too large", file.problem().value_or("")) << room;
        EXPECT_EQ(head + line.substr(0, room), content());
    }
}

// The system sends the signal for a write beyond the limit; ignoring it is left to the application.
TEST_F(RecordingFileTest, ALimitForTheSizeOfFilesEndsItButNotTheProgram) {
    const auto setLimit = [] {
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        limit.rlim_cur = head.size() + 10;
        setrlimit(RLIMIT_FSIZE, &limit);
    };
    const auto writeBeyondTheLimit = [&](bool isSetLater) {
        signal(SIGXFSZ, SIG_DFL);
        if (!isSetLater)
            setLimit();
        EntryFile file(path);
        if (isSetLater) {
            setLimit();
            file.startSync(); // as each second
        }
        const bool isWritten = file.write(5, Pass());
        const bool isRefused = !file.write(6, Pass()) && file.problem() == path.string() + ": File too large";
        sigset_t pending;
        sigset_t blocked;
        sigpending(&pending);
        pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
        const bool isFree = !sigismember(&pending, SIGXFSZ) && !sigismember(&blocked, SIGXFSZ);
        std::_Exit(isWritten && isRefused && isFree ? 0 : 1);
    };
    EXPECT_EXIT(writeBeyondTheLimit(false), testing::ExitedWithCode(0), "");
    std::filesystem::remove(path);
    EXPECT_EXIT(writeBeyondTheLimit(true), testing::ExitedWithCode(0), "");
}

TEST_F(RecordingFileTest, AfterAFailureNothingIsWrittenAnyMore) {
    EntryFile file(path);
    {
        const Disk disk(head.size());
        EXPECT_FALSE(file.write(5, Pass()));
    }
    EXPECT_FALSE(file.write(6, Pass()));
    EXPECT_FALSE(file.startSync());
    EXPECT_FALSE(file.restart());
    EXPECT_EQ(path.string() + ": File too large", file.problem());
    EXPECT_EQ(head, content());
}

TEST_F(RecordingFileTest, AFileWithoutItsFirstLinesIsRemoved) {
    const Disk disk(head.size() - 1);
    EXPECT_EQ(path.string() + ": File too large", refusalOf(path));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RecordingFileTest, AnEmptyFileThatWasThereStaysEmpty) {
    std::ofstream(path).close();
    const Disk disk(head.size() - 1);
    EXPECT_EQ(path.string() + ": File too large", refusalOf(path));
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ("", content());
}

TEST_F(RecordingFileTest, ADiscardedFileIsRemoved) {
    EntryFile file(path);
    file.write(5, Pass());
    file.discard();
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RecordingFileTest, AFileThatWasThereIsEmptyAgainWhenTheDiskDidNotTakeItsContent) {
    std::ofstream(path).close();
    EntryFile file(path);
    file.write(5, Pass());
    errorOfSync = EIO;
    EXPECT_FALSE(file.finish());
    errorOfSync = 0;
    file.discard();
    EXPECT_EQ("", content());
}

TEST_F(RecordingFileTest, ADiscardedFileThatAnotherOneHasReplacedLeavesThatOne) {
    EntryFile file(path);
    std::filesystem::remove(path);
    std::ofstream(path) << "x";
    file.discard();
    EXPECT_EQ("x", content());
}

// As when a child ends by exit, which destroys its copies of static objects.
TEST_F(RecordingFileTest, TheChildOfAForkLeavesItToItsParent) {
    for (const bool wasThere : {false, true})
        for (const bool isFinished : {false, true}) {
            SCOPED_TRACE(std::to_string(wasThere) + std::to_string(isFinished));
            std::filesystem::remove(path);
            if (wasThere)
                std::ofstream(path).close();
            EntryFile file(path);
            EXPECT_TRUE(file.write(5, Pass()));
            const pid_t child = fork();
            if (child == 0) {
                file.add({6, End(), 0});
                const bool isWritten = isFinished && file.finish();
                if (!isFinished)
                    file.discard();
                KX::test::endCopy(isWritten ? 1 : 0);
            }
            int status = -1;
            waitpid(child, &status, 0);
            EXPECT_EQ(0, status);
            EXPECT_TRUE(file.write(7, Pass()));
            EXPECT_TRUE(file.finish());
            EXPECT_EQ(head + "5 pass\n7 pass\n", content());
        }
}

TEST_F(RecordingFileTest, AChildThatIsForkedMeanwhileDoesNotKeepTheLockOfADiscardedFile) {
    std::ofstream(path).close();
    EntryFile file(path);
    const pid_t child = fork();
    if (child == 0)
        for (;;)
            pause();
    file.discard();
    EXPECT_EQ("it was made", refusalOf(path));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

TEST_F(RecordingFileTest, FinishedMeansThatTheDiskHasIt) {
    {
        EntryFile file(path);
        EXPECT_TRUE(file.finish());
    }
    std::filesystem::remove(path);
    EntryFile file(path);
    errorOfSync = EIO;
    EXPECT_FALSE(file.finish());
    errorOfSync = 0;
    EXPECT_EQ(path.string() + ": Input/output error", file.problem());
}

TEST_F(RecordingFileTest, TheDiskHasItsNameFromTheBeginning) {
    struct stat state {};
    ASSERT_EQ(0, stat(folder.c_str(), &state));
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder);
    for (const std::string& name : {path.string(), std::string("relative.kxr")}) {
        syncedFolder = 0;
        EXPECT_EQ("it was made", refusalOf(name));
        EXPECT_EQ(state.st_ino, syncedFolder) << name;
    }
    std::filesystem::current_path(before);
    std::filesystem::resize_file(path, 0);
    syncedFolder = 0;
    EXPECT_EQ("it was made", refusalOf(path));
    EXPECT_EQ(0U, syncedFolder) << "it was there before";
}

TEST_F(RecordingFileTest, AFolderThatCannotBeSyncedIsNoProblemButADiskThatFailsIs) {
    errorOfSync = EINVAL; // of some file systems
    const std::string withoutSyncs = refusalOf(path);
    std::filesystem::remove(path);
    errorOfSync = EIO;
    const std::string failing = refusalOf(path);
    errorOfSync = 0;
    EXPECT_EQ("it was made", withoutSyncs);
    EXPECT_EQ(path.string() + ": Input/output error", failing);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RecordingFileTest, ADeviceNeedsNoDisk) {
    EntryFile file("/dev/null");
    EXPECT_TRUE(file.startSync());
    EXPECT_TRUE(file.finish());
}

std::string whyNotWritten(const std::filesystem::path& path, const Session& session) {
    try {
        writeFile(path, session);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "it was written";
}

TEST_F(RecordingFileTest, ASessionThatWasReadIsWrittenAsItWas) {
    const auto warn = [](const std::string& warning) { FAIL() << warning; };
    int recordings = 0;
    for (const auto& file : std::filesystem::directory_iterator(KX_RECORDINGS)) {
        if (file.path().extension() != ".kxr")
            continue;
        SCOPED_TRACE(file.path());
        ++recordings;
        const Session session = readFile(file.path(), warn);
        std::filesystem::remove(path);
        writeFile(path, session);
        const Session again = readFile(path, warn);
        EXPECT_EQ(session.entries.size(), KX::Recording::test::firstDifference(session.entries, again.entries));
        EXPECT_EQ(session.entries.size(), again.entries.size());
    }
    EXPECT_GE(recordings, 25);
}

TEST_F(RecordingFileTest, ASessionThatNoReaderWouldTakeIsNotWritten) {
    constexpr std::uint64_t longestPauseMs = 0x7FFFFFFF;
    Session session;
    session.entries = {{5, Pass(), 0}, {5, Pass(), 0}, {5 + longestPauseMs, Pass(), 0}};
    EXPECT_EQ("it was written", whyNotWritten(path, session));
    EXPECT_EQ(path.string() + ": the file exists and is not overwritten", whyNotWritten(path, session));
    std::filesystem::remove(path);
    session.entries[1].timeMs = 4;
    EXPECT_EQ(path.string() + ": entry 2 does not follow the one before in time", whyNotWritten(path, session));
    session.entries = {{5, Pass(), 0}, {6 + longestPauseMs, Pass(), 0}};
    EXPECT_EQ(path.string() + ": entry 2 does not follow the one before in time", whyNotWritten(path, session));
    session.isPlainLog = true;
    EXPECT_EQ(path.string() + ": the log of a CAN bus is no recording", whyNotWritten(path, session));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RecordingFileTest, ASettingWithoutAWordIsNotWritten) {
    Session session;
    session.entries = {{5, Pass(), 0}, {5, NumberSetting{KX::KXInputSetting::KeyboardLayout, 1}, 0}};
    EXPECT_EQ(path.string() + ": entry 2 sets what a recording has no word for", whyNotWritten(path, session));
    EXPECT_FALSE(std::filesystem::exists(path));
    session.entries.pop_back();
    EXPECT_EQ("it was written", whyNotWritten(path, session));
}

TEST_F(RecordingFileTest, ANumberThatNoReaderTakesIsNotWritten) {
    const auto set = [this](KX::KXInputSetting name, std::int64_t value) {
        Session session;
        session.entries = {{5, NumberSetting{name, value}, 0}};
        std::filesystem::remove(path);
        return whyNotWritten(path, session);
    };
    const std::string refusal = path.string() + ": entry 1 sets a number that cannot be set";
    EXPECT_EQ(refusal, set(KX::KXInputSetting::DoubleKeyPressDuration, -1));
    EXPECT_EQ("it was written", set(KX::KXInputSetting::DoubleKeyPressDuration, 0));
    EXPECT_EQ("it was written", set(KX::KXInputSetting::LongKeyPressDuration, 0xFFFFFFFF));
    EXPECT_EQ(refusal, set(KX::KXInputSetting::LongKeyPressDuration, 0x100000000));
    EXPECT_EQ("it was written", set(KX::KXInputSetting::AcceptInput, 1));
    EXPECT_EQ(refusal, set(KX::KXInputSetting::AcceptInput, 2));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RecordingFileTest, AFrameThatNoReaderTakesIsNotWritten) {
    const auto writeFrame = [this](const std::string& bus, std::uint32_t length) {
        Session session;
        session.entries = {{5, Frame{bus, {}}, 0}};
        std::get<Frame>(session.entries[0].input).message.canLength = length;
        std::filesystem::remove(path);
        return whyNotWritten(path, session);
    };
    const std::string refusal = path.string() + ": entry 1 is of a bus whose name is no word";
    for (const char* const bus : {"", " ", "can 0", "can0\t", "\rcan0", "can0\n1 pass"})
        EXPECT_EQ(refusal, writeFrame(bus, 8)) << bus;
    EXPECT_EQ("it was written", writeFrame("can0", 8));
    EXPECT_EQ(path.string() + ": entry 1 is a frame of more than 8 bytes", writeFrame("can0", 9));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RecordingFileTest, AKeypadWhoseKeysAreNotToldBeforeIsNotWritten) {
    Session session;
    session.entries = {{5, KeyMapping{KX::KeyLayout::functionKeys()}, 0},
                       {5, Keypad{std::make_shared<const KX::CANRemoteOptions>(KX::KeyLayout::builtIn())}, 0}};
    EXPECT_EQ("it was written", whyNotWritten(path, session));
    std::filesystem::remove(path);
    session.entries.erase(session.entries.begin()); // as a tool does that shortens a recording
    EXPECT_EQ(path.string() + ": entry 1 is a keypad that no reader takes: key 8: code 15 is a key code that the "
                              "toolkit has no key for",
              whyNotWritten(path, session));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RecordingFileTest, NothingIsWrittenBehindTheEnd) {
    Session session;
    session.entries = {{5, Pass(), 0}, {6, End(), 0}};
    EXPECT_EQ("it was written", whyNotWritten(path, session));
    std::filesystem::remove(path);
    session.entries.push_back({6, Pass(), 0});
    EXPECT_EQ(path.string() + ": entry 3 comes behind the end", whyNotWritten(path, session));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RecordingFileTest, ASessionThatTheDiskDoesNotTakeLeavesNoFile) {
    Session session;
    session.entries.assign(1000, {5, Pass(), 0});
    const Disk disk(2000);
    EXPECT_EQ(path.string() + ": File too large", whyNotWritten(path, session));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RecordingFileTest, AKilledProcessLeavesWholeLines) {
    for (int round = 0; round < 20; ++round) {
        std::filesystem::remove(path);
        const auto write = [this] {
            EntryFile file(path);
            for (int i = 0; i < 10000000; ++i)
                file.write(static_cast<unsigned int>(i),
                           NumberSetting{KX::KXInputSetting::EncoderLowPassFactor, i});
        };
        const std::uintmax_t enough = 100 + static_cast<std::uintmax_t>(round) * 5000;
        std::error_code notThereYet;
        killInTheMiddle(write, [&] {
            const std::uintmax_t size = std::filesystem::file_size(path, notThereYet);
            return !notThereYet && size >= enough;
        });
        const std::string left = content();
        const Outcome outcome = outcomeOf(left);
        ASSERT_EQ("", outcome.error);
        ASSERT_THAT(outcome.warnings, SizeIs(left.back() == '\n' ? 0 : 1));
        ASSERT_THAT(outcome.session.entries, SizeIs(std::count(left.begin(), left.end(), '\n') - 2));
        int expected = 0;
        for (const Entry& entry : outcome.session.entries)
            ASSERT_EQ(expected++, std::get<NumberSetting>(entry.input).value);
        ASSERT_GT(expected, 0);
    }
}

#include "platform/KXDebug.h"

#include "support/ChildProcess.h"
#include "support/RedirectedError.h"
#include "support/ResourceLimit.h"
#include "support/SteadyClock.h"
#include "support/Waiting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <sstream>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

/// What becomes of the writes of the library to standard error or to what that is opened anew as.
struct Writes {
    int count = 0;
    std::size_t longest = 0;
    std::size_t most = SIZE_MAX; ///< so many characters are taken at once
    int error = 0;               ///< of the next ones
    int errors = 0;              ///< so many give it
};

/// Not null: of the thread that set it.
thread_local Writes* watchedWrites = nullptr;

/// Looks for room. They take no time but move the clock on, if it stands.
struct Polls {
    std::vector<int> timeoutsMs;
    int earlierMs = 0; ///< the first one ends so much too early
};

thread_local Polls* watchedPolls = nullptr;

/// Of the next opening of standard error.
thread_local int flagsOfOpening = -1;

} // namespace

// Replace functions of the system for the whole program, libraries included.

extern "C" KX_EXPORT ssize_t write(int descriptor, const void* data, std::size_t size) {
    Writes* const writes = watchedWrites;
    if (writes) {
        ++writes->count;
        writes->longest = std::max(writes->longest, size);
        size = std::min(size, writes->most);
        if (writes->errors > 0) {
            --writes->errors;
            errno = writes->error;
            return -1;
        }
    }
    return syscall(SYS_write, descriptor, data, size);
}

extern "C" KX_EXPORT int poll(pollfd* queries, nfds_t count, int timeoutMs) {
    if (Polls* const polls = watchedPolls) {
        EXPECT_EQ(count, 1U);
        polls->timeoutsMs.push_back(timeoutMs);
        StandingClock::advance(std::chrono::milliseconds(timeoutMs - std::exchange(polls->earlierMs, 0)));
        timeoutMs = 0;
    }
    const timespec timeout{timeoutMs / 1000, timeoutMs % 1000 * 1000000L};
    return ppoll(queries, count, timeoutMs < 0 ? nullptr : &timeout, nullptr);
}

extern "C" KX_EXPORT int open(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const auto mode = static_cast<mode_t>((flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0);
    va_end(arguments);
    if (std::strcmp(path, "/proc/self/fd/2") == 0)
        flagsOfOpening = flags;
    return openat(AT_FDCWD, path, flags, mode);
}

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

/// A flood into an output without a reader waits 100 ms in all. Any machine is fast enough for this limit.
constexpr long long muchTimeMs = 20000;

class KXDebugLossTest : public testing::Test {
protected:
    /// Leaves nothing to tell to the next test.
    void TearDown() override {
        const OutputEnds pipe = OutputEnds::makePipe();
        const RedirectedError redirected(pipe.writer);
        print("the end");
    }

    static void print(const std::string& text) { KX::KXDebug::debugPrintError(1, key, "%s", text.c_str()); }

    /// Prints a line of \p length characters, its line end included.
    static void printLine(std::size_t length) { print(std::string(length - prefix.size() - 1, 'x')); }

    /// \return what one line looks like through a pipe, with what comes before it
    static std::string printIntoNewPipe(const std::string& text) {
        const OutputEnds pipe = OutputEnds::makePipe();
        const RedirectedError redirected(pipe.writer);
        print(text);
        return pipe.readAll();
    }

    /// Prints 1000 lines that nobody reads. \return how long that took
    static long long floodMs(const OutputEnds& ends) {
        const RedirectedError redirected(ends.writer);
        const long long begin = getSteadyMs();
        for (int i = 0; i < 1000; ++i)
            printLine(1000);
        return getSteadyMs() - begin;
    }

    static inline const std::string prefix = "[loss:1] ";
    static inline const unsigned int key = KX::KXDebug::insertNewDebugSection("loss");
};

/// The text from the last letter of the last long line on.
std::string getEnd(const std::string& text) {
    return text.substr(text.rfind("xx") + 1);
}

/// Adds up what a reader got: whole lines, and those that a notice counts.
struct Account {
    explicit Account(const std::string& text) {
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            unsigned long count = 0;
            char end = 0;
            if (std::sscanf(line.c_str(), "[kx_debug:1] %lu line%*[s] los%c", &count, &end) == 2 ||
                std::sscanf(line.c_str(), "[kx_debug:1] %lu line los%c", &count, &end) == 2)
                told += count;
            else
                whole += line.find(wholeLine) == 0;
        }
    }

    static inline const std::string wholeLine = "[loss:1] " + std::string(990, 'x');
    unsigned long whole = 0;
    unsigned long told = 0;
};

TEST_F(KXDebugLossTest, aReaderThatHasGoneDoesNotEndTheProgram) {
    OutputEnds pipe = OutputEnds::makePipe();
    pipe.closeReader();
    const RedirectedError redirected(pipe.writer);
    print("into nothing");
    sigset_t pending;
    sigpending(&pending);
    EXPECT_FALSE(sigismember(&pending, SIGPIPE)) << "it would end the program later";
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    EXPECT_FALSE(sigismember(&mask, SIGPIPE)) << "the application's own pipes need it";
}

TEST_F(KXDebugLossTest, aFileThatHasReachedTheLimitOfTheProcessDoesNotEndTheProgram) {
    EXPECT_EQ(runInChild([] {
                  signal(SIGXFSZ, SIG_DFL);
                  const int file = memfd_create("errors", MFD_CLOEXEC);
                  const RedirectedError redirected(file);
                  rlimit limit{};
                  getrlimit(RLIMIT_FSIZE, &limit);
                  const rlimit tenBytes{10, limit.rlim_max};
                  setrlimit(RLIMIT_FSIZE, &tenBytes);
                  print("longer than the limit");
                  print("and beyond it");
                  setrlimit(RLIMIT_FSIZE, &limit); // the child may write other files before it ends
                  return lseek(file, 0, SEEK_END) == 10 ? 0 : 1;
              }),
              0);
}

// The system refuses to look for room then.
TEST_F(KXDebugLossTest, aProcessThatMayHaveNoDescriptorsKeepsItsLines) {
    const OutputEnds pipe = OutputEnds::makePipe();
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none{0, limit.rlim_max};
    {
        const RedirectedError redirected(pipe.writer);
        setrlimit(RLIMIT_NOFILE, &none);
        print("a line");
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    EXPECT_EQ(pipe.readAll(), prefix + "a line\n");
}

TEST_F(KXDebugLossTest, aSignalThatWasPendingBeforeStaysPending) {
    sigset_t pipeSignal;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
    raise(SIGPIPE);
    OutputEnds pipe = OutputEnds::makePipe();
    pipe.closeReader();
    {
        const RedirectedError redirected(pipe.writer);
        print("into nothing");
    }
    const timespec atOnce{};
    EXPECT_EQ(sigtimedwait(&pipeSignal, nullptr, &atOnce), SIGPIPE);
    EXPECT_EQ(sigtimedwait(&pipeSignal, nullptr, &atOnce), -1) << "one more than before";
    pthread_sigmask(SIG_UNBLOCK, &pipeSignal, nullptr);
}

// Each write is one datagram.
TEST_F(KXDebugLossTest, aNoticeAndItsLineAreOneWriteUpToWhatAPipeTakesWhole) {
    const std::string notice = "[kx_debug:1] 1 line lost\n";
    for (const std::size_t lineLength :
         {PIPE_BUF - notice.size() - 1, PIPE_BUF - notice.size(), PIPE_BUF - notice.size() + 1}) {
        OutputEnds gone = OutputEnds::makeSockets(SOCK_DGRAM);
        gone.closeReader();
        {
            const RedirectedError redirected(gone.writer);
            print("into nothing");
        }
        const OutputEnds sockets = OutputEnds::makeSockets(SOCK_DGRAM);
        {
            const RedirectedError redirected(sockets.writer);
            printLine(lineLength);
        }
        char first[2 * PIPE_BUF];
        const ssize_t size = recv(sockets.reader, first, sizeof(first), MSG_DONTWAIT);
        const std::size_t together = notice.size() + lineLength;
        EXPECT_EQ(static_cast<std::size_t>(size), together <= PIPE_BUF ? together : notice.size());
    }
}

TEST_F(KXDebugLossTest, aSocketWhoseReaderHasGoneDoesNotEndTheProgram) {
    for (const int type : {SOCK_STREAM, SOCK_DGRAM}) {
        OutputEnds sockets = OutputEnds::makeSockets(type);
        sockets.closeReader();
        const RedirectedError redirected(sockets.writer);
        print("into nothing");
    }
    EXPECT_THAT(printIntoNewPipe("again"), StartsWith("[kx_debug:1] 2 lines lost\n"));
}

TEST_F(KXDebugLossTest, lostLinesAreToldOnceBeforeTheNextThatGetsThrough) {
    for (const int lost : {0, 1, 2}) {
        {
            OutputEnds pipe = OutputEnds::makePipe();
            pipe.closeReader();
            const RedirectedError redirected(pipe.writer);
            for (int i = 0; i < lost; ++i)
                print("into nothing");
        }
        const std::string notices[] = {"", "[kx_debug:1] 1 line lost\n", "[kx_debug:1] 2 lines lost\n"};
        EXPECT_EQ(printIntoNewPipe("next"), notices[lost] + "[loss:1] next\n");
        EXPECT_EQ(printIntoNewPipe("then"), "[loss:1] then\n");
    }
}

TEST_F(KXDebugLossTest, aClosedOutputIsCounted) {
    {
        const OutputEnds pipe = OutputEnds::makePipe();
        const RedirectedError redirected(pipe.writer);
        close(STDERR_FILENO);
        print("into nothing");
    }
    EXPECT_EQ(printIntoNewPipe("next"), "[kx_debug:1] 1 line lost\n[loss:1] next\n");
}

TEST_F(KXDebugLossTest, aPipeThatNobodyReadsDelaysOneLineOnly) {
    const OutputEnds pipe = OutputEnds::makePipe();
    EXPECT_LT(floodMs(pipe), muchTimeMs);
    const RedirectedError redirected(pipe.writer);
    std::string read = pipe.readAll();
    print("last");
    read += pipe.readAll();
    EXPECT_EQ(getEnd(read), "x\n[kx_debug:1] 996 lines lost\n[loss:1] last\n");
    EXPECT_EQ(Account(read).whole, 4u) << "as many as fit";
    EXPECT_FALSE(fcntl(pipe.writer, F_GETFL) & O_NONBLOCK) << "other programs share the pipe";
}

TEST_F(KXDebugLossTest, aSocketThatNobodyReadsDelaysOneLineOnly) {
    for (const int type : {SOCK_STREAM, SOCK_DGRAM}) {
        const OutputEnds sockets = OutputEnds::makeSockets(type);
        EXPECT_LT(floodMs(sockets), muchTimeMs);
        const RedirectedError redirected(sockets.writer);
        std::string read = sockets.readAll();
        print("last");
        read += sockets.readAll();
        const Account account(read);
        EXPECT_GT(account.told, 0u);
        EXPECT_EQ(account.whole + account.told, 1000u);
    }
}

TEST_F(KXDebugLossTest, aTerminalThatNobodyReadsDelaysOneLineOnly) {
    const OutputEnds terminal = OutputEnds::makeTerminal();
    EXPECT_LT(floodMs(terminal), muchTimeMs);
    const RedirectedError redirected(terminal.writer);
    std::string read;
    EXPECT_TRUE(waitUntil([&] {
        read += terminal.readAll();
        print("last");
        return read.find("[kx_debug:1] ") != std::string::npos;
    }));
    const Account account(read);
    EXPECT_GT(account.told, 900u);
    EXPECT_GE(account.whole + account.told, 1000u);
}

TEST_F(KXDebugLossTest, aPipeThatMayNotBeOpenedAnewDelaysOneLineOnly) {
    const OutputEnds pipe = OutputEnds::makePipe();
    ASSERT_EQ(fchmod(pipe.writer, 0), 0);
    {
        const NoAdministrator ordinary;
        ASSERT_EQ(open(("/proc/self/fd/" + std::to_string(pipe.writer)).c_str(), O_WRONLY | O_CLOEXEC), -1);
        const long long tookMs = floodMs(pipe);
        EXPECT_LT(tookMs, muchTimeMs);
        EXPECT_GE(tookMs, 99) << "a reader that is only behind got no time";
    }
    const RedirectedError redirected(pipe.writer);
    std::string read = pipe.readAll();
    print("last");
    read += pipe.readAll();
    // The system calls a pipe full whose last page is in use.
    EXPECT_EQ(getEnd(read), "x\n[kx_debug:1] 999 lines lost\n[loss:1] last\n");
    EXPECT_EQ(Account(read).whole, 1u);
}

TEST_F(KXDebugLossTest, aPipeIsWrittenToWithoutAFreeDescriptor) {
    const OutputEnds pipe = OutputEnds::makePipe();
    {
        const RedirectedError redirected(pipe.writer);
        const NoMoreDescriptors limit;
        print("text");
    }
    EXPECT_EQ(pipe.readAll(), "[loss:1] text\n");
}

TEST_F(KXDebugLossTest, aProgramWithoutStandardInputIsLeftWithoutIt) {
    const OutputEnds pipe = OutputEnds::makePipe();
    const RedirectedError redirected(pipe.writer);
    const int input = dup(STDIN_FILENO);
    close(STDIN_FILENO); // the next descriptor that is opened is 0
    errno = EINTR;       // of an earlier call
    print("told");
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "what the line needed is still open";
    dup2(input, STDIN_FILENO);
    close(input);
    EXPECT_EQ(pipe.readAll(), prefix + "told\n");
}

TEST_F(KXDebugLossTest, aShortLineIsTakenWholeOrNotAtAll) {
    for (const std::size_t length : {95u, 96u, 97u}) {
        const OutputEnds pipe = OutputEnds::makePipe();
        const RedirectedError redirected(pipe.writer);
        printLine(4000);
        printLine(length);
        const std::string read = pipe.readAll();
        EXPECT_EQ(read.size(), length <= 96 ? 4000 + length : 4000) << "a line of " << length << " characters";
        EXPECT_THAT(read, EndsWith("x\n"));
        EXPECT_EQ(printIntoNewPipe("next"),
                  (length <= 96 ? "" : "[kx_debug:1] 1 line lost\n") + prefix + "next\n");
    }
}

TEST_F(KXDebugLossTest, aLongLineThatIsCutCountsAsLostAndTheNextBeginsAnew) {
    for (const std::size_t length : {4095u, 4096u, 4097u, 9000u}) {
        const OutputEnds pipe = OutputEnds::makePipe();
        const RedirectedError redirected(pipe.writer);
        printLine(length);
        const std::string read = pipe.readAll();
        EXPECT_EQ(read.size(), std::min<std::size_t>(length, 4096));
        print("next");
        EXPECT_EQ(pipe.readAll(), (length <= 4096 ? "" : "\n[kx_debug:1] 1 line lost\n") + prefix + "next\n");
    }
}

TEST_F(KXDebugLossTest, aReaderThatIsOnlyBehindGetsALongLineWhole) {
    const OutputEnds pipe = OutputEnds::makePipe();
    const RedirectedError redirected(pipe.writer);
    const std::string whole = prefix + std::string(50000 - prefix.size() - 1, 'x') + "\n";
    std::atomic<bool> done{false};
    std::atomic<bool> cameWhole{false};
    std::thread reader([&] {
        std::string read;
        while (!done && !cameWhole) {
            pollfd query = {pipe.reader, POLLIN, 0};
            poll(&query, 1, 10); // whoever sleeps is woken at once, also on a busy machine
            read += pipe.readAll();
            cameWhole = read.find(whole) != read.npos;
            read.erase(0, read.size() - std::min(read.size(), whole.size())); // the rest may begin it
        }
    });
    // The reader may not get to run in time on a busy machine. Then the line comes again, after a short one that fits
    // into the pipe once the reader has emptied it. It ends the loss, during which no line waits for its reader.
    for (int attempts = 0; attempts < 5000 && !cameWhole; ++attempts) {
        print("next");
        printLine(50000);
        std::this_thread::yield();
    }
    done = true;
    reader.join();
    EXPECT_TRUE(cameWhole);
}

/// Watches the writes and the looks for room of this thread, for a scope.
class Watch {
public:
    Watch() {
        watchedWrites = &writes;
        watchedPolls = &polls;
    }
    ~Watch() {
        watchedWrites = nullptr;
        watchedPolls = nullptr;
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    Writes writes;
    Polls polls;
};

TEST_F(KXDebugLossTest, aFullOutputGetsAHundredMillisecondsOnce) {
    const OutputEnds pipe = OutputEnds::makePipe();
    const RedirectedError redirected(pipe.writer);
    printLine(4096);
    const StandingClock clock;
    Watch watch;
    print("lost");
    EXPECT_THAT(watch.polls.timeoutsMs, ElementsAre(100));
    EXPECT_EQ(watch.writes.count, 2) << "before and after the time";
    print("lost");
    EXPECT_THAT(watch.polls.timeoutsMs, ElementsAre(100));
}

TEST_F(KXDebugLossTest, aWaitForRoomThatEndsEarlyGoesOnForTheRestOfItsTime) {
    const OutputEnds pipe = OutputEnds::makePipe();
    const RedirectedError redirected(pipe.writer);
    printLine(4096);
    for (const int restMs : {1, 2, 100}) {
        const StandingClock clock;
        {
            Watch watch;
            watch.polls.earlierMs = restMs;
            print("lost");
            EXPECT_THAT(watch.polls.timeoutsMs, ElementsAre(100, restMs));
        }
        pipe.readAll();
        printLine(4096 - std::string("[kx_debug:1] 1 line lost\n").size());
    }
}

TEST_F(KXDebugLossTest, aPipeThatMayNotBeOpenedAnewIsAskedForRoomWithoutWaitingAndGetsNoMoreThanItTakesWhole) {
    const OutputEnds pipe = OutputEnds::makePipe();
    ASSERT_EQ(fchmod(pipe.writer, 0), 0);
    const StandingClock clock;
    const NoAdministrator ordinary;
    {
        const RedirectedError redirected(pipe.writer);
        Watch watch;
        printLine(9000);
        EXPECT_EQ(watch.writes.count, 1);
        EXPECT_EQ(watch.writes.longest, static_cast<std::size_t>(PIPE_BUF));
        EXPECT_THAT(watch.polls.timeoutsMs, ElementsAre(0, 0, 100, 0));
    }
    EXPECT_EQ(pipe.readAll().size(), static_cast<std::size_t>(PIPE_BUF));
}

TEST_F(KXDebugLossTest, anInterruptedWriteIsRepeated) {
    const OutputEnds pipe = OutputEnds::makePipe();
    const RedirectedError redirected(pipe.writer);
    const StandingClock clock;
    {
        Watch watch;
        watch.writes.error = EINTR;
        watch.writes.errors = 3;
        print("whole");
        EXPECT_EQ(watch.writes.count, 4);
        EXPECT_TRUE(watch.polls.timeoutsMs.empty());
    }
    EXPECT_EQ(pipe.readAll(), prefix + "whole\n");
}

TEST_F(KXDebugLossTest, anOutputThatHasFailedIsTriedOnceALine) {
    const OutputEnds pipe = OutputEnds::makePipe();
    const RedirectedError redirected(pipe.writer);
    for (const int error : {EPIPE, EIO, ENOSPC, EBADF}) {
        const StandingClock clock;
        {
            Watch watch;
            watch.writes.error = error;
            watch.writes.errors = 2;
            print("lost");
            EXPECT_EQ(watch.writes.count, 1) << error;
            EXPECT_TRUE(watch.polls.timeoutsMs.empty()) << error;
        }
        print("next");
        EXPECT_EQ(pipe.readAll(), "[kx_debug:1] 1 line lost\n" + prefix + "next\n");
    }
}

TEST_F(KXDebugLossTest, anOutputThatTakesOneCharacterAtATimeGetsTheLineWhole) {
    const OutputEnds pipe = OutputEnds::makePipe();
    const RedirectedError redirected(pipe.writer);
    {
        const StandingClock clock;
        Watch watch;
        watch.writes.most = 1;
        print("whole");
    }
    print("next");
    EXPECT_EQ(pipe.readAll(), prefix + "whole\n" + prefix + "next\n");
}

TEST_F(KXDebugLossTest, aLongLineBehindANoticeComesOnceAndEndsTheLoss) {
    OutputEnds gone = OutputEnds::makePipe();
    gone.closeReader();
    {
        const RedirectedError redirected(gone.writer);
        print("into nothing");
    }
    const OutputEnds sockets = OutputEnds::makeSockets(SOCK_STREAM);
    const RedirectedError redirected(sockets.writer);
    const std::string text(PIPE_BUF, 'x');
    print(text);
    print("next");
    EXPECT_EQ(sockets.readAll(), "[kx_debug:1] 1 line lost\n" + prefix + text + "\n" + prefix + "next\n");
}

TEST_F(KXDebugLossTest, aLineIsOneDatagramHoweverLongItIs) {
    const OutputEnds sockets = OutputEnds::makeSockets(SOCK_DGRAM);
    {
        const RedirectedError redirected(sockets.writer);
        printLine(3 * PIPE_BUF);
    }
    std::string line(4 * PIPE_BUF, '\0');
    EXPECT_EQ(recv(sockets.reader, line.data(), line.size(), MSG_DONTWAIT), 3 * PIPE_BUF);
}

TEST_F(KXDebugLossTest, aLineIsOneWriteToAFileHoweverLongItIs) {
    const int file = memfd_create("errors", MFD_CLOEXEC);
    {
        const RedirectedError redirected(file);
        const StandingClock clock;
        Watch watch;
        printLine(3 * PIPE_BUF);
        EXPECT_EQ(watch.writes.count, 1);
        EXPECT_TRUE(watch.polls.timeoutsMs.empty()) << "a file has no reader";
    }
    EXPECT_EQ(lseek(file, 0, SEEK_END), 3 * PIPE_BUF);
    close(file);
}

TEST_F(KXDebugLossTest, whatIsOpenedAnewIsNeitherInheritedNorTheTerminalOfTheProgram) {
    const OutputEnds pipe = OutputEnds::makePipe();
    const RedirectedError redirected(pipe.writer);
    flagsOfOpening = -1;
    print("text");
    EXPECT_EQ(flagsOfOpening & ~O_LARGEFILE, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

TEST_F(KXDebugLossTest, aFileKeepsItsOrderWithTheApplicationsOwnLines) {
    char name[] = "/tmp/kx_debug_XXXXXX";
    const int file = mkostemp(name, O_CLOEXEC);
    unlink(name);
    const RedirectedError redirected(file);
    ASSERT_EQ(write(file, "before\n", 7), 7);
    print("library");
    ASSERT_EQ(write(file, "after\n", 6), 6);
    std::string text(100, '\0');
    text.resize(static_cast<std::size_t>(pread(file, text.data(), text.size(), 0)));
    EXPECT_EQ(text, "before\n[loss:1] library\nafter\n");
    close(file);
}

TEST_F(KXDebugLossTest, whatSeveralThreadsLoseIsCounted) {
    const OutputEnds pipe = OutputEnds::makePipe();
    std::vector<std::thread> threads;
    {
        const RedirectedError redirected(pipe.writer);
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([] {
                for (int line = 0; line < 500; ++line)
                    printLine(1000);
            });
        for (std::thread& thread : threads)
            thread.join();
    }
    const std::string before = pipe.readAll();
    const Account account(before + printIntoNewPipe("next"));
    EXPECT_EQ(account.whole, 4u);
    EXPECT_EQ(account.whole + account.told, 2000u);
}

} // namespace

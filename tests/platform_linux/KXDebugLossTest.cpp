#include "platform/KXDebug.h"

#include "support/ChildProcess.h"
#include "support/RedirectedError.h"
#include "support/ResourceLimit.h"
#include "support/Waiting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <sstream>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

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

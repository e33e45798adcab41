#include "platform/KXThread.h"

#include "support/ChildProcess.h"
#include "support/ResourceLimit.h"
#include "support/Waiting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <pthread.h>
#include <sched.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

using testing::IsEmpty;
using testing::StartsWith;

/// Each thread has its own, on its stack: more than the smallest stack can hold.
thread_local volatile char largeData[128 * 1024];

std::string readThreadName(unsigned int id) {
    std::ifstream file("/proc/self/task/" + std::to_string(id) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

/// What a thread reports about itself, and the flag that lets it end.
struct Report {
    std::atomic<bool> entered{false};
    std::atomic<bool> mayEnd{false};
    std::atomic<bool> ended{false};
    std::atomic<int> runs{0};
    unsigned int id = 0;
    std::string name;
    std::size_t stackSize = 0;
    int error = 0;
    int policy = -1;
    int priority = -1;
};

void describeThisThread(Report& report) {
    report.id = KX::KXThread::getCurrentThreadID();
    report.name = readThreadName(report.id);
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getstacksize(&attributes, &report.stackSize);
    pthread_attr_destroy(&attributes);
    sched_param parameter{};
    pthread_getschedparam(pthread_self(), &report.policy, &parameter);
    report.priority = parameter.sched_priority;
}

/// Forks after the calling thread has asked for its number, which is cached then. The child forks again.
/// \return 0 when both were right, another number when one was not or there was no child
int numberDiffersInChild(int generations = 2) {
    KX::KXThread::getCurrentThreadID();
    return runInChild([generations] {
        const bool isRight = KX::KXThread::getCurrentThreadID() == static_cast<unsigned int>(getpid());
        return isRight && (generations == 1 || numberDiffersInChild(generations - 1) == 0) ? 0 : 1;
    });
}

void* reportAndEnd(void* argument) {
    auto& report = *static_cast<Report*>(argument);
    describeThisThread(report);
    ++report.runs;
    report.entered = true;
    report.ended = true;
    return nullptr;
}

void* reportAndWait(void* argument) {
    auto& report = *static_cast<Report*>(argument);
    report.entered = true;
    waitUntil([&] { return report.mayEnd.load(); });
    report.ended = true;
    return nullptr;
}

void* writeWithoutReader(void* argument) {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
        return nullptr;
    close(ends[0]);
    errno = 0;
    const ssize_t written = ::write(ends[1], "x", 1);
    static_cast<Report*>(argument)->error = written < 0 ? errno : 0;
    close(ends[1]);
    return nullptr;
}

class KXThreadTest : public testing::Test {
protected:
    std::unique_ptr<KX::KXThread> makeThread(void* (*function)(void*), const std::string& name = "inputEventMgr") {
        std::unique_ptr<KX::KXThread> thread(KX::KXThread::create(name));
        thread->setEntryFunction(function, &report);
        return thread;
    }

    Report report;
};

/// What the debug service prints about a thread that cannot be started.
class KXThreadDiagnosticsTest : public KXThreadTest {
protected:
    /// \param expectedStatus  what start is to return
    /// \return what was written to standard error
    static std::string startAndListen(KX::KXThread& thread, int priority, unsigned int stackSize,
                                      int expectedStatus) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(thread.start(priority, stackSize), expectedStatus);
        return testing::internal::GetCapturedStderr();
    }
};

TEST_F(KXThreadTest, anOutputWhoseReaderHasGoneDoesNotEndTheProgram) {
    const auto thread = makeThread(writeWithoutReader);
    ASSERT_EQ(thread->start(0, 0), 0);
    ASSERT_EQ(thread->stopAndWait(), 0);
    EXPECT_EQ(report.error, EPIPE);
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    EXPECT_FALSE(sigismember(&mask, SIGPIPE)) << "the starting thread is the application's";
}

/// The next thread gets this one's stack.
void* fillStack(void*) {
    volatile unsigned char space[16 * 1024];
    for (volatile unsigned char& byte : space)
        byte = 0xff;
    return nullptr;
}

TEST_F(KXThreadTest, hasTheSignalsOfItsStarterButTheOneOfAnOutputWithoutReader) {
    const auto former = makeThread(fillStack);
    ASSERT_EQ(former->start(0, 0), 0);
    ASSERT_EQ(former->stopAndWait(), 0);
    sigset_t mask;
    sigemptyset(&mask);
    const std::unique_ptr<KX::KXThread> thread(KX::KXThread::create("inputEventMgr"));
    thread->setEntryFunction(
        [](void* ofThread) -> void* {
            pthread_sigmask(SIG_BLOCK, nullptr, static_cast<sigset_t*>(ofThread));
            return nullptr;
        },
        &mask);
    ASSERT_EQ(thread->start(0, 0), 0);
    ASSERT_EQ(thread->stopAndWait(), 0);
    sigset_t expected;
    pthread_sigmask(SIG_BLOCK, nullptr, &expected);
    sigaddset(&expected, SIGPIPE);
    for (int signal = 1; signal <= SIGRTMAX; ++signal)
        EXPECT_EQ(sigismember(&mask, signal), sigismember(&expected, signal)) << "signal " << signal;
}

/// What a thread needs that waits for another one's end.
struct Wait {
    std::atomic<bool>& mayBegin;
    KX::KXThread* other = nullptr;
    std::atomic<int> status{-1};
    std::atomic<bool> mayEnd{true};
};

void* waitForOther(void* argument) {
    auto& wait = *static_cast<Wait*>(argument);
    waitUntil([&] { return wait.mayBegin.load(); });
    wait.status = wait.other->stopAndWait();
    waitUntil([&] { return wait.mayEnd.load(); });
    return nullptr;
}

TEST_F(KXThreadTest, oneOfThreeThatWaitForEachOtherInACircleIsRefused) {
    std::atomic<bool> mayBegin{false};
    Wait waits[3] = {{mayBegin}, {mayBegin}, {mayBegin}};
    std::unique_ptr<KX::KXThread> threads[3];
    for (int i = 0; i < 3; ++i) {
        threads[i].reset(KX::KXThread::create("circle"));
        threads[i]->setEntryFunction(waitForOther, &waits[i]);
        waits[(i + 1) % 3].other = threads[i].get();
    }
    for (const auto& thread : threads)
        ASSERT_EQ(thread->start(0, 0), 0);
    mayBegin = true;
    ASSERT_TRUE(waitUntil([&] { return waits[0].status >= 0 && waits[1].status >= 0 && waits[2].status >= 0; }));
    EXPECT_EQ(waits[0].status + waits[1].status + waits[2].status, 20);
    for (const auto& thread : threads)
        EXPECT_EQ(thread->stopAndWait(), 0);
}

TEST_F(KXThreadTest, oneThatHasWaitedForAnotherMayBeWaitedForByThat) {
    std::atomic<bool> mayBegin{true};
    const std::unique_ptr<KX::KXThread> first(KX::KXThread::create("first"));
    const std::unique_ptr<KX::KXThread> second(KX::KXThread::create("second"));
    Wait ofFirst{mayBegin, second.get()};
    ofFirst.mayEnd = false;
    first->setEntryFunction(waitForOther, &ofFirst);
    second->setEntryFunction(reportAndEnd, &report);
    ASSERT_EQ(second->start(0, 0), 0);
    ASSERT_EQ(first->start(0, 0), 0);
    ASSERT_TRUE(waitUntil([&] { return ofFirst.status >= 0; }));
    EXPECT_EQ(ofFirst.status, 0);
    Wait ofSecond{mayBegin, first.get()};
    second->setEntryFunction(waitForOther, &ofSecond);
    EXPECT_EQ(second->start(0, 0), 0);
    ofFirst.mayEnd = true;
    EXPECT_TRUE(waitUntil([&] { return ofSecond.status >= 0; }));
    EXPECT_EQ(ofSecond.status, 0) << "they do not wait for each other";
    EXPECT_EQ(second->stopAndWait(), 0);
}

TEST_F(KXThreadTest, runsTheEntryFunctionInAThreadOfTheGivenName) {
    const auto thread = makeThread(reportAndEnd);
    ASSERT_EQ(thread->start(0, 0), 0);
    ASSERT_EQ(thread->stopAndWait(), 0);
    EXPECT_EQ(report.runs, 1);
    EXPECT_EQ(report.name, "inputEventMgr");
    EXPECT_NE(report.id, KX::KXThread::getCurrentThreadID());
}

TEST_F(KXThreadTest, keepsFifteenCharactersOfALongerName) {
    const auto thread = makeThread(reportAndEnd, "0123456789abcdefgh");
    ASSERT_EQ(thread->start(0, 0), 0);
    ASSERT_EQ(thread->stopAndWait(), 0);
    EXPECT_EQ(report.name, "0123456789abcde");
}

TEST_F(KXThreadTest, keepsANameOfFifteenCharactersWhole) {
    const auto thread = makeThread(reportAndEnd, "0123456789abcde");
    ASSERT_EQ(thread->start(0, 0), 0);
    ASSERT_EQ(thread->stopAndWait(), 0);
    EXPECT_EQ(report.name, "0123456789abcde");
}

TEST_F(KXThreadTest, theMainThreadHasTheNumberOfTheProcess) {
    EXPECT_EQ(KX::KXThread::getCurrentThreadID(), static_cast<unsigned int>(getpid()));
}

TEST_F(KXThreadTest, theThreadOfAChildHasTheNumberOfTheChild) {
    EXPECT_EQ(numberDiffersInChild(), 0) << "forked by the main thread";
    int status = -1;
    std::thread([&] { status = numberDiffersInChild(); }).join();
    EXPECT_EQ(status, 0) << "forked by another thread";
}

TEST_F(KXThreadTest, aThreadKeepsItsNumberWhenItForks) {
    const unsigned int before = KX::KXThread::getCurrentThreadID();
    numberDiffersInChild();
    EXPECT_EQ(KX::KXThread::getCurrentThreadID(), before);
}

TEST_F(KXThreadTest, hasTheStackThatWasAskedFor) {
    // More than the default, so that no stack of an ended thread is used again.
    const unsigned int stackSize = 24 * 1024 * 1024;
    const auto thread = makeThread(reportAndEnd);
    ASSERT_EQ(thread->start(0, stackSize), 0);
    ASSERT_EQ(thread->stopAndWait(), 0);
    // The system may take its guard pages from the stack.
    EXPECT_GE(report.stackSize + 65536, stackSize);
}

TEST_F(KXThreadTest, aStackBelowTheSystemsLeastIsOutOfRange) {
    const auto thread = makeThread(reportAndEnd);
    EXPECT_EQ(thread->start(0, static_cast<unsigned int>(PTHREAD_STACK_MIN) - 1), 24);
    EXPECT_EQ(thread->start(0, 1), 24);
    EXPECT_EQ(report.runs, 0);
}

TEST_F(KXThreadTest, aPriorityOutsideTheSystemsRangeIsRefused) {
    const auto thread = makeThread(reportAndEnd);
    EXPECT_EQ(thread->start(sched_get_priority_max(SCHED_FIFO) + 1, 0), 24);
    EXPECT_EQ(thread->start(sched_get_priority_min(SCHED_FIFO) - 2, 0), 24);
    EXPECT_EQ(report.runs, 0);
}

TEST_F(KXThreadTest, theLeastAndTheGreatestPriorityAreInTheRange) {
    for (const int priority : {sched_get_priority_min(SCHED_FIFO), sched_get_priority_max(SCHED_FIFO)}) {
        const auto thread = makeThread(reportAndEnd);
        EXPECT_NE(thread->start(priority, 0), 24) << "whether this user may have it or not";
    }
}

TEST_F(KXThreadDiagnosticsTest, aThreadThatStartsIsNotMentioned) {
    const auto thread = makeThread(reportAndEnd);
    EXPECT_THAT(startAndListen(*thread, 0, 0, 0), IsEmpty());
}

TEST_F(KXThreadDiagnosticsTest, aMissingEntryFunctionIsTold) {
    const std::unique_ptr<KX::KXThread> thread(KX::KXThread::create("idle"));
    EXPECT_EQ(startAndListen(*thread, 0, 0, 20),
              "[kx_thread:1] thread \"idle\" is not started: it has no entry function\n");
}

TEST_F(KXThreadDiagnosticsTest, aSecondStartIsTold) {
    const auto thread = makeThread(reportAndWait);
    ASSERT_EQ(thread->start(0, 0), 0);
    EXPECT_EQ(startAndListen(*thread, 0, 0, 20),
              "[kx_thread:1] thread \"inputEventMgr\" is not started: it runs already\n");
    report.mayEnd = true;
}

TEST_F(KXThreadDiagnosticsTest, aPriorityOutsideTheSystemsRangeIsTold) {
    const auto thread = makeThread(reportAndEnd);
    EXPECT_EQ(startAndListen(*thread, 100, 0, 24), "[kx_thread:1] thread \"inputEventMgr\" is not started: "
                                                   "real-time priority 100 is not in the range of 1 to 99\n");
    EXPECT_EQ(startAndListen(*thread, -1, 0, 24), "[kx_thread:1] thread \"inputEventMgr\" is not started: "
                                                  "real-time priority -1 is not in the range of 1 to 99\n");
}

TEST_F(KXThreadDiagnosticsTest, aStackBelowTheSystemsLeastIsTold) {
    const auto thread = makeThread(reportAndEnd);
    const auto least = static_cast<unsigned int>(PTHREAD_STACK_MIN);
    EXPECT_EQ(startAndListen(*thread, 0, least - 1, 24),
              "[kx_thread:1] thread \"inputEventMgr\" is not started: a stack of " + std::to_string(least - 1) +
                  " bytes is too small, the system's least is " + std::to_string(least) + "\n");
}

TEST_F(KXThreadDiagnosticsTest, aStackThatDoesNotHoldTheDataOfEveryThreadIsTold) {
    largeData[0] = 1;
    const auto thread = makeThread(reportAndEnd);
    const auto least = static_cast<unsigned int>(PTHREAD_STACK_MIN);
    testing::internal::CaptureStderr();
    const int status = thread->start(0, least);
    const std::string told = testing::internal::GetCapturedStderr();
    if (status == 0)
        GTEST_SKIP() << "something, a sanitizer say, makes small stacks larger";
    EXPECT_EQ(status, 24);
    EXPECT_EQ(told, "[kx_thread:1] thread \"inputEventMgr\" is not started: a stack of " + std::to_string(least) +
                        " bytes is too small for the data that each thread of this program has\n");
}

TEST_F(KXThreadDiagnosticsTest, aRealTimePriorityThatIsNotAllowedIsTold) {
    const auto thread = makeThread(reportAndEnd);
    const NoRealTimePriority limit;
    EXPECT_EQ(startAndListen(*thread, 5, 0, 20), "[kx_thread:1] thread \"inputEventMgr\" is not started: "
                                                 "real-time priority 5 is not allowed: Operation not permitted\n");
}

TEST_F(KXThreadDiagnosticsTest, aLackOfMemoryForTheStackIsTold) {
    const auto thread = makeThread(reportAndEnd);
    const NoMoreAddressSpace limit;
    const unsigned int stackSize = 0xE0000000u;
    if (!limit.refuses(stackSize))
        GTEST_SKIP() << "this system does not limit the address space of a process";
    EXPECT_EQ(startAndListen(*thread, 0, stackSize, 20),
              "[kx_thread:1] thread \"inputEventMgr\" is not started: no thread with a stack of 3758096384 bytes: "
              "Resource temporarily unavailable\n");
}

TEST_F(KXThreadDiagnosticsTest, aLongNameIsToldAsTheSystemHasIt) {
    const std::unique_ptr<KX::KXThread> thread(KX::KXThread::create("0123456789abcdefgh"));
    EXPECT_THAT(startAndListen(*thread, 0, 0, 20), StartsWith("[kx_thread:1] thread \"0123456789abcde\" is not"));
}

TEST_F(KXThreadDiagnosticsTest, errnoIsLeftAlone) {
    const auto thread = makeThread(reportAndEnd);
    errno = ENOENT;
    startAndListen(*thread, 100, 0, 24);
    EXPECT_EQ(errno, ENOENT);
}

} // namespace

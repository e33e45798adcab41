#include "ThreadKit.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <set>
#include <vector>

namespace KX::PlatformTests {

using Thread = PlatformTest;

namespace {

/// An entry function that ends some time after it was allowed to.
class SlowEnding {
public:
    std::function<void()> body() {
        return [this] {
            pauseUntil(mayEnd);
            adapter().pauseThread(30);
            hasEnded = true;
        };
    }

    void allow() { mayEnd = true; }
    bool isOver() const { return hasEnded; }

private:
    std::atomic<bool> mayEnd{false};
    std::atomic<bool> hasEnded{false};
};

} // namespace

TEST_F(Thread, runsItsEntryFunctionOnceOnAThreadOfItsOwn) {
    std::atomic<int> runs{0};
    unsigned int id = KXThread::getCurrentThreadID();
    BodyThread thread([&] {
        id = KXThread::getCurrentThreadID();
        ++runs;
    });
    ASSERT_EQ(thread.start(), STATUS_OK);
    ASSERT_EQ(thread.stopAndWait(), STATUS_OK);
    EXPECT_EQ(runs, 1);
    EXPECT_NE(id, KXThread::getCurrentThreadID());
}

TEST_F(Thread, runsBesideTheThreadThatStartedIt) {
    std::atomic<bool> mayEnd{false};
    std::atomic<bool> hasEnded{false};
    BodyThread thread([&] {
        pauseUntil(mayEnd);
        hasEnded = true;
    });
    ASSERT_EQ(thread.start(), STATUS_OK);
    EXPECT_FALSE(hasEnded) << "start has waited for the end";
    mayEnd = true;
    EXPECT_TRUE(eventually([&] { return hasEnded.load(); }));
    EXPECT_EQ(thread.stopAndWait(), STATUS_OK);
}

TEST_F(Thread, doesNotRunBeforeItIsStarted) {
    std::atomic<int> runs{0};
    {
        BodyThread thread([&] { ++runs; });
        adapter().passTime(20);
        EXPECT_EQ(thread.stopAndWait(), STATUS_OK) << "it never ran";
    }
    EXPECT_EQ(runs, 0);
}

TEST_F(Thread, isRefusedWithoutAnEntryFunction) {
    const std::unique_ptr<KXThread> thread(KXThread::create("platform_tests"));
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(thread->start(0, 0), STATUS_REFUSED);
    EXPECT_EQ(thread->stopAndWait(), STATUS_OK);
}

TEST_F(Thread, isRefusedASecondStartWhileItRuns) {
    std::atomic<bool> mayEnd{false};
    std::atomic<int> runs{0};
    BodyThread thread([&] {
        ++runs;
        pauseUntil(mayEnd);
    });
    ASSERT_EQ(thread.start(), STATUS_OK);
    EXPECT_EQ(thread.start(), STATUS_REFUSED);
    mayEnd = true;
    EXPECT_EQ(thread.stopAndWait(), STATUS_OK);
    EXPECT_EQ(runs, 1);
}

TEST_F(Thread, mayBeStartedAgainAfterItWasWaitedFor) {
    std::atomic<int> runs{0};
    BodyThread thread([&] { ++runs; });
    for (int round = 1; round <= 3; ++round) {
        ASSERT_EQ(thread.start(), STATUS_OK);
        ASSERT_EQ(thread.stopAndWait(), STATUS_OK);
        EXPECT_EQ(runs, round);
    }
}

TEST_F(Thread, mayBeStartedAgainAfterItEndedByItself) {
    std::atomic<int> runs{0};
    BodyThread thread([&] { ++runs; });
    ASSERT_EQ(thread.start(), STATUS_OK);
    ASSERT_TRUE(eventually([&] { return runs == 1; }));
    ASSERT_TRUE(eventually([&] { return thread.start() == STATUS_OK; })) << "its function has returned";
    EXPECT_EQ(thread.stopAndWait(), STATUS_OK);
    EXPECT_EQ(runs, 2);
}

TEST_F(Thread, stopAndWaitReturnsOnlyWhenTheEntryFunctionHas) {
    SlowEnding ending;
    BodyThread thread(ending.body());
    ASSERT_EQ(thread.start(), STATUS_OK);
    ending.allow();
    EXPECT_EQ(thread.stopAndWait(), STATUS_OK);
    EXPECT_TRUE(ending.isOver());
    EXPECT_EQ(thread.stopAndWait(), STATUS_OK) << "nothing is left to wait for";
}

TEST_F(Thread, theDestructorWaitsForTheEntryFunction) {
    SlowEnding ending;
    BodyThread thread(ending.body());
    ASSERT_EQ(thread.start(), STATUS_OK);
    ending.allow();
    thread.destroy();
    EXPECT_TRUE(ending.isOver());
    ASSERT_TRUE(eventually([&] { return ending.isOver(); })) << "it uses what the test has on its stack";
}

TEST_F(Thread, isRefusedToWaitForItself) {
    std::atomic<bool> isOwner{false};
    std::atomic<int> status{-1};
    BodyThread thread([&] {
        pauseUntil(isOwner);
        status = thread.stopAndWait();
    });
    ASSERT_EQ(thread.start(), STATUS_OK);
    isOwner = true;
    ASSERT_TRUE(eventually([&] { return status != -1; }));
    EXPECT_EQ(status, STATUS_REFUSED);
    EXPECT_EQ(thread.stopAndWait(), STATUS_OK);
}

TEST_F(Thread, oneOfTwoThatWouldWaitForEachOtherIsRefused) {
    std::atomic<bool> begun{false};
    std::atomic<int> innerStatus{-1};
    std::atomic<int> outerStatus{-1};
    std::unique_ptr<BodyThread> outer;
    BodyThread inner([&] {
        adapter().pauseThread(50);
        innerStatus = outer->stopAndWait();
    });
    outer = std::make_unique<BodyThread>([&] {
        pauseUntil(begun); // the object of this thread belongs to the other one from now on
        if (inner.start() == STATUS_OK)
            outerStatus = inner.stopAndWait();
    });
    ASSERT_EQ(outer->start(), STATUS_OK);
    begun = true;
    ASSERT_TRUE(eventually([&] { return innerStatus != -1 && outerStatus != -1; }));
    EXPECT_EQ(innerStatus + outerStatus, STATUS_OK + STATUS_REFUSED);
    outer.reset();
}

TEST_F(Thread, anEntryFunctionThatIsSetLaterDoesNotReachTheRunThatGoesOn) {
    std::atomic<bool> mayEnd{false};
    std::atomic<int> first{0};
    int second = 0;
    BodyThread thread([&] {
        pauseUntil(mayEnd);
        ++first;
    });
    ASSERT_EQ(thread.start(), STATUS_OK);
    const auto count = [](void* number) -> void* {
        ++*static_cast<int*>(number);
        return nullptr;
    };
    thread.get().setEntryFunction(count, &second);
    mayEnd = true;
    ASSERT_EQ(thread.stopAndWait(), STATUS_OK);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 0);
    ASSERT_EQ(thread.start(), STATUS_OK);
    ASSERT_EQ(thread.stopAndWait(), STATUS_OK);
    EXPECT_EQ(second, 1) << "the next run has it, with its argument";
}

TEST_F(Thread, hasTheStackThatItWasStartedWith) {
    std::atomic<bool> isUsed{false};
    BodyThread thread([&] {
        volatile char space[512 * 1024];
        for (std::size_t i = 0; i < sizeof(space); i += 1024)
            space[i] = 1;
        isUsed = space[0] == 1;
    });
    ASSERT_EQ(thread.start(0, 1024 * 1024), STATUS_OK);
    ASSERT_EQ(thread.stopAndWait(), STATUS_OK);
    EXPECT_TRUE(isUsed);
}

TEST_F(Thread, aPriorityThatTheSystemDoesNotKnowIsOutOfRange) {
    const int greatest = adapter().getGreatestPriority();
    if (greatest == 0)
        GTEST_SKIP() << "the adapter tells of no real-time priorities (getGreatestPriority)";
    std::atomic<int> runs{0};
    BodyThread thread([&] { ++runs; });
    EXPECT_EQ(thread.start(-1), STATUS_OUT_OF_RANGE);
    EXPECT_EQ(thread.start(greatest + 1), STATUS_OUT_OF_RANGE);
    EXPECT_EQ(runs, 0);
    EXPECT_NE(thread.start(greatest), STATUS_OUT_OF_RANGE) << "whether this user may have it or not";
    EXPECT_EQ(thread.stopAndWait(), STATUS_OK);
    EXPECT_EQ(thread.start(0), STATUS_OK);
}

TEST_F(Thread, runsWithTheRealTimePriorityThatWasAskedFor) {
    const int priority = adapter().getGreatestPriority() / 2;
    std::optional<int> found;
    BodyThread thread([&] { found = adapter().getPriorityOfThisThread(); });
    if (priority == 0 || thread.start(priority) == STATUS_REFUSED)
        GTEST_SKIP() << "there are no real-time priorities, or this user may not have them";
    ASSERT_EQ(thread.stopAndWait(), STATUS_OK);
    if (!found)
        GTEST_SKIP() << "the adapter cannot tell the priority of a thread (getPriorityOfThisThread)";
    EXPECT_EQ(*found, priority);
}

TEST_F(Thread, bearsItsNameOrTheBeginningOfIt) {
    for (const std::string name : {"kit", "inputEventMgr", "a_name_that_is_longer_than_some_systems_keep"}) {
        std::optional<std::string> shown;
        BodyThread thread([&] { shown = adapter().getNameOfThisThread(); }, name);
        ASSERT_EQ(thread.start(), STATUS_OK);
        ASSERT_EQ(thread.stopAndWait(), STATUS_OK);
        if (!shown)
            GTEST_SKIP() << "the adapter cannot tell the name of a thread (getNameOfThisThread)";
        EXPECT_FALSE(shown->empty());
        EXPECT_EQ(name.substr(0, shown->size()), *shown);
    }
}

using ThreadID = PlatformTest;

TEST_F(ThreadID, staysTheSame) {
    EXPECT_EQ(KXThread::getCurrentThreadID(), KXThread::getCurrentThreadID());
}

TEST_F(ThreadID, noTwoRunningThreadsShareOne) {
    constexpr int count = 8;
    std::vector<unsigned int> ids(count);
    Meeting meeting(count);
    std::vector<std::thread> threads;
    for (unsigned int& id : ids)
        threads.emplace_back([&] {
            id = KXThread::getCurrentThreadID();
            meeting.join(); // all of them run until the last one has its number
        });
    for (std::thread& thread : threads)
        thread.join();
    std::set<unsigned int> different(ids.begin(), ids.end());
    different.insert(KXThread::getCurrentThreadID());
    EXPECT_EQ(different.size(), ids.size() + 1);
}

TEST_F(ThreadID, noTwoRunningThreadsOfThePlatformShareOne) {
    std::atomic<bool> mayEnd{false};
    std::atomic<unsigned int> ids[2] = {};
    std::atomic<int> told{0};
    const auto tell = [&](std::atomic<unsigned int>& id) {
        id = KXThread::getCurrentThreadID();
        ++told;
        pauseUntil(mayEnd);
    };
    BodyThread first([&] { tell(ids[0]); });
    BodyThread second([&] { tell(ids[1]); });
    ASSERT_EQ(first.start(), STATUS_OK);
    ASSERT_EQ(second.start(), STATUS_OK);
    EXPECT_TRUE(eventually([&] { return told == 2; }));
    mayEnd = true;
    EXPECT_EQ(first.stopAndWait(), STATUS_OK);
    EXPECT_EQ(second.stopAndWait(), STATUS_OK);
    EXPECT_NE(ids[0], ids[1]);
    EXPECT_NE(ids[0], KXThread::getCurrentThreadID());
    EXPECT_NE(ids[1], KXThread::getCurrentThreadID());
}

} // namespace KX::PlatformTests

#include "Simulated.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

namespace KX::test {

using testing::ElementsAre;
using testing::IsEmpty;

using Threads = Simulated;

TEST_F(Threads, StartReturnsWhenTheThreadWaits) {
    Trace trace;
    bool stopped = false;
    Script script("s", [&] {
        trace.push_back("before");
        KXEndPointManager manager;
        manager.waitForEndPoints(KXTick::getTickCount() + 10, 0);
        trace.push_back("after");
        stopped = true;
    });
    EXPECT_EQ(script.start(), 0);
    EXPECT_THAT(trace, ElementsAre("before"));
    KXSimulation::advance(10);
    EXPECT_THAT(trace, ElementsAre("before", "after"));
    EXPECT_EQ(script.stopAndWait(), 0);
    EXPECT_TRUE(stopped);
}

TEST_F(Threads, StartReturnsWhenTheThreadHasEnded) {
    bool ran = false;
    Script script("s", [&] { ran = true; });
    EXPECT_EQ(script.start(), 0);
    EXPECT_TRUE(ran);
}

TEST_F(Threads, WaitAgainAfterARestart) {
    Trace trace;
    Script script("s", [&] {
        KXEndPointManager manager;
        manager.waitForEndPoints(KXTick::getTickCount() + 100, 0);
        trace.push_back(atTick("s"));
    });
    ASSERT_EQ(script.start(), 0);
    ASSERT_EQ(script.stopAndWait(), 0);
    ASSERT_EQ(script.start(), 0);
    KXSimulation::advance(100);
    EXPECT_THAT(trace, ElementsAre("s@0", "s@100")) << "the second run must not find itself stopped";
}

TEST_F(Threads, RefuseAStartWithoutEntryOrWhileRunning) {
    const std::unique_ptr<KXThread> thread(KXThread::create("t"));
    EXPECT_EQ(thread->start(0, 0), 20);
    Trace trace;
    Script script("s", [&] {
        EXPECT_EQ(script.start(), 20) << "it runs";
        KXEndPointManager().waitForEndPoints(1, 0);
    });
    EXPECT_EQ(script.start(), 0);
    EXPECT_EQ(script.start(), 20) << "it waits";
}

TEST_F(Threads, PriorityRangeIsThatOfLinux) {
    const std::unique_ptr<KXThread> thread(KXThread::create("t"));
    thread->setEntryFunction([](void*) -> void* { return nullptr; }, nullptr);
    EXPECT_EQ(thread->start(-1, 0), 24);
    EXPECT_EQ(thread->start(0, 65536), 0);
    EXPECT_EQ(thread->start(99, 0), 0);
    EXPECT_EQ(thread->start(100, 0), 24);
}

TEST_F(Threads, StopDuringAWaitLeavesTheClockAlone) {
    Trace trace;
    Worker worker("w", trace, 100);
    KXSimulation::advance(130);
    worker.stop();
    EXPECT_EQ(KXTick::getTickCount(), 130u);
    EXPECT_THAT(trace, ElementsAre("w@100", "w@130"));
}

TEST_F(Threads, WaitsOfAStoppedThreadReturnAtOnce) {
    Trace trace;
    Script script("s", [&] {
        KXEndPointManager manager;
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 100, 0), 0);
            trace.push_back(atTick("s"));
        }
    });
    ASSERT_EQ(script.start(), 0);
    EXPECT_EQ(script.stopAndWait(), 0);
    EXPECT_THAT(trace, ElementsAre("s@0", "s@0", "s@0"));
}

TEST_F(Threads, StopOfOneRunsNoOther) {
    Trace trace;
    Worker other("other", trace, 0x7FFFFFFF);
    Worker worker("w", trace, 100);
    KXSimulation::setTick(100);
    worker.stop();
    EXPECT_THAT(trace, ElementsAre("w@100"));
}

TEST_F(Threads, DestructionStopsAThreadThatWaits) {
    bool ended = false;
    {
        Script script("s", [&] {
            KXEndPointManager().waitForEndPoints(1000, 0);
            ended = true;
        });
        ASSERT_EQ(script.start(), 0);
    }
    EXPECT_TRUE(ended);
}

TEST_F(Threads, OfOneTickRunInTheOrderInWhichTheyBeganToWait) {
    Trace trace;
    Worker first("first", trace, 100);
    Worker second("second", trace, 100);
    KXSimulation::advance(200);
    EXPECT_THAT(trace, ElementsAre("first@100", "second@100", "first@200", "second@200"));
}

TEST_F(Threads, OrderOfWaitsCountsAndNotTheOrderOfStarts) {
    Trace trace;
    Worker slow("slow", trace, 200);
    Worker quick("quick", trace, 100);
    KXSimulation::advance(150); // quick began its present wait after slow did
    KXSimulation::advance(50);
    EXPECT_THAT(trace, ElementsAre("quick@100", "slow@200", "quick@200"));
    trace.clear();
    KXSimulation::advance(200);
    EXPECT_THAT(trace, ElementsAre("quick@300", "slow@400", "quick@400"));
}

TEST_F(Threads, DifferentTicksRunInTheOrderOfTicks) {
    Trace trace;
    Worker late("late", trace, 70);
    Worker early("early", trace, 30);
    KXSimulation::advance(100);
    EXPECT_THAT(trace, ElementsAre("early@30", "early@60", "late@70", "early@90"));
}

TEST_F(Threads, EndWaitsGivesEachThreadOnePassAtThePresentTick) {
    Trace trace;
    Worker first("first", trace, 100);
    Worker second("second", trace, 200);
    KXSimulation::advance(10);
    KXSimulation::endWaits();
    EXPECT_THAT(trace, ElementsAre("first@10", "second@10"));
    EXPECT_EQ(KXTick::getTickCount(), 10u);
    KXSimulation::advance(100);
    EXPECT_THAT(trace, ElementsAre("first@10", "second@10", "first@110"));
}

TEST_F(Threads, EndWaitsWithNobodyWaitingDoesNothing) {
    KXSimulation::endWaits();
    EXPECT_EQ(KXTick::getTickCount(), 0u);
}

TEST_F(Threads, StartedByASimulatedThreadRunUntilTheyWait) {
    Trace trace;
    Script inner("inner", [&] {
        trace.push_back("inner runs");
        KXEndPointManager().waitForEndPoints(50, 0);
        trace.push_back(atTick("inner"));
    });
    Script outer("outer", [&] {
        EXPECT_EQ(inner.start(), 0);
        trace.push_back("outer goes on");
        KXEndPointManager().waitForEndPoints(20, 0);
        EXPECT_EQ(inner.stopAndWait(), 0);
        trace.push_back(atTick("outer"));
    });
    ASSERT_EQ(outer.start(), 0);
    KXSimulation::advance(100);
    EXPECT_THAT(trace, ElementsAre("inner runs", "outer goes on", "inner@20", "outer@20"));
}

TEST_F(Threads, ThatWaitForEachOtherAreToldSo) {
    int status = -1;
    std::unique_ptr<Script> outer;
    Script inner(
        "inner", [&] { status = outer->stopAndWait(); });
    outer = std::make_unique<Script>("outer", [&] { inner.start(); });
    ASSERT_EQ(outer->start(), 0);
    EXPECT_EQ(status, 20);
}

// Whether the thread waits or runs at that moment, is the system's choice.
TEST_F(Threads, MayBeStoppedByAnotherThreadThanTheDriver) {
    std::atomic<bool> stopped{false};
    int waits = 0;
    Script script("s", [&] {
        KXEndPointManager manager;
        while (!stopped) {
            manager.waitForEndPoints(KXTick::getTickCount() + 1, 0);
            ++waits;
        }
    });
    ASSERT_EQ(script.start(), 0);
    std::thread stopper([&] {
        stopped = true;
        EXPECT_EQ(script.stopAndWait(), 0);
    });
    stopper.join();
    EXPECT_EQ(waits, 1);
}

TEST_F(Threads, AreStoppedWhileTheDriverRunsThem) {
    std::atomic<bool> stops{false};
    std::thread stopper;
    int waits = 0;
    Script script("s", [&] {
        KXEndPointManager manager;
        stopper = std::thread([&] {
            stops = true;
            EXPECT_EQ(script.stopAndWait(), 0);
        });
        while (!stops)
            std::this_thread::yield();
        manager.waitForEndPoints(100, 0);
        ++waits;
    });
    ASSERT_EQ(script.start(), 0);
    stopper.join();
    EXPECT_EQ(waits, 1);
}

TEST_F(Threads, IdsAreSmallAndUniqueAndTheDriversIsTheFirst) {
    std::vector<unsigned int> ids;
    const auto note = [&] { ids.push_back(KXThread::getCurrentThreadID()); };
    Script first("a", note);
    Script second("b", note);
    first.start();
    second.start();
    first.start();
    EXPECT_EQ(KXThread::getCurrentThreadID(), 1u);
    EXPECT_THAT(ids, ElementsAre(2u, 3u, 4u));
}

TEST_F(Threads, IdsOfOtherThreadsOfTheProgramAreUniqueToo) {
    unsigned int other = 0;
    std::thread([&] { other = KXThread::getCurrentThreadID(); }).join();
    EXPECT_NE(other, KXThread::getCurrentThreadID());
    EXPECT_EQ(other, 2u);
}

TEST_F(Threads, AnHourOfPassesTakesNoTimeWorthMentioning) {
    KXEndPointManager manager;
    bool stopped = false;
    int passes = 0;
    Script script("s", [&] {
        while (!stopped) {
            manager.waitForEndPoints(KXTick::getTickCount() + 100, 0);
            ++passes;
        }
    });
    ASSERT_EQ(script.start(), 0);
    const auto begin = std::chrono::steady_clock::now();
    KXSimulation::advance(3'600'000);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    stopped = true;
    script.stopAndWait();
    std::printf("36,000 passes took %.3f s\n", taken.count());
    EXPECT_EQ(passes, 36'001) << "one of them because of the stop";
    // A hundred times what it takes. A slow machine does not reach it; a sleep at each pass would.
    EXPECT_LT(taken.count(), 30.0);
}

TEST_F(Threads, SameScriptTwiceGivesTheSameTrace) {
    const auto play = [] {
        KXSimulation::reset();
        Trace trace;
        Worker a("a", trace, 30);
        Worker b("b", trace, 50);
        Worker c("c", trace, 20);
        KXSimulation::advance(173);
        KXSimulation::endWaits();
        KXSimulation::setTick(400);
        KXSimulation::advance(333);
        trace.push_back("threads " + std::to_string(KXThread::getCurrentThreadID()));
        return trace;
    };
    const Trace once = play();
    EXPECT_GT(once.size(), 30u);
    EXPECT_EQ(play(), once);
}

using ThreadsDeath = Threads;

TEST_F(ThreadsDeath, DriversFunctionsOnASimulatedThreadAbort) {
    const auto callOnThread = [](void (*function)()) { Script("s", function).start(); };
    EXPECT_DEATH(callOnThread([] { KXSimulation::advance(1); }), "KXSimulation::advance: .*thread \"s\"");
    EXPECT_DEATH(callOnThread([] { KXSimulation::setTick(1); }), "KXSimulation::setTick: .*thread \"s\"");
    EXPECT_DEATH(callOnThread([] { KXSimulation::endWaits(); }), "KXSimulation::endWaits: .*thread \"s\"");
    EXPECT_DEATH(callOnThread([] { KXSimulation::reset(); }), "KXSimulation::reset: .*thread \"s\"");
}

TEST_F(ThreadsDeath, ALoopThatDoesNotSeeItsStopIsNamed) {
    const auto stopEndless = [] {
        Script script("endless", [] {
            KXEndPointManager manager;
            for (;;)
                manager.waitForEndPoints(KXTick::getTickCount() + 100, 0);
        });
        script.start();
        script.stopAndWait();
    };
    EXPECT_DEATH(stopEndless(), "thread \"endless\" waits again and again at tick 0");
}

} // namespace KX::test

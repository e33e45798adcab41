#include "Simulated.h"

#include "platform/KXCANMessage.h"
#include "platform/KXCANRaw.h"
#include "platform/KXDebug.h"
#include "platform/KXMutex.h"
#include "platform/KXPipe.h"
#include "platform/KXString.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <thread>

namespace KX::test {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Constructed before and destroyed after everything else of the program, as an object of another library may be.
struct EarlyAndLate {
    EarlyAndLate() : key(KXDebug::insertNewDebugSection("early")), mutex(KXMutex::create()) {
        KXDebug::debugPrintError(1, key, "said %s", "early");
        early = KXSimulation::takeDebugMessages();
        pipe.init();
        thread.reset(KXThread::create("early"));
        thread->setEntryFunction(
            [](void* self) -> void* {
                KXEndPointManager().waitForEndPoints(100, 0);
                static_cast<EarlyAndLate*>(self)->returned = true;
                return nullptr;
            },
            this);
        started = thread->start(0, 0);
        stopped = thread->stopAndWait();
        living = KXSimulation::getLivingObjects();
        mutex.reset();
        thread.reset();
        pipe.~KXPipe();
        new (&pipe) KXPipe;
    }

    ~EarlyAndLate() {
        KXDebug::debugPrintError(1, key, "said %s", "late");
        const std::unique_ptr<KXMutex> late(KXMutex::create());
        const KXAutoLock lock(late.get());
        pipe.init();
        KXSimulation::takeDebugMessages();
    }

    unsigned int key;
    std::unique_ptr<KXMutex> mutex;
    std::unique_ptr<KXThread> thread;
    KXPipe pipe;
    std::vector<KXSimulation::DebugMessage> early;
    bool returned = false;
    int started = -1;
    int stopped = -1;
    unsigned int living = 0;
};

[[gnu::init_priority(101)]] EarlyAndLate earlyAndLate;

} // namespace

using Services = Simulated;

TEST_F(Services, AreThereForStaticInitialisers) {
    ASSERT_EQ(earlyAndLate.early.size(), 1u);
    EXPECT_EQ(earlyAndLate.early[0].section, "early");
    EXPECT_EQ(earlyAndLate.early[0].text, "said early");
    EXPECT_EQ(earlyAndLate.started, 0);
    EXPECT_EQ(earlyAndLate.stopped, 0);
    EXPECT_TRUE(earlyAndLate.returned);
    EXPECT_EQ(earlyAndLate.living, 3u);
}

TEST_F(Services, DebugSectionsKeepTheirKeysAndTheirOrder) {
    const unsigned int first = KXDebug::insertNewDebugSection("first");
    const unsigned int second = KXDebug::insertNewDebugSection("second");
    EXPECT_NE(first, second);
    KXSimulation::reset();
    EXPECT_EQ(KXDebug::insertNewDebugSection("first"), first);
    EXPECT_EQ(KXDebug::insertNewDebugSection("second"), second);
    EXPECT_EQ(KXDebug::insertNewDebugSection("early"), earlyAndLate.key);
    const auto sections = KXSimulation::getDebugSections();
    const auto place = std::find(sections.begin(), sections.end(), "first");
    ASSERT_NE(place, sections.end());
    EXPECT_EQ(*(place + 1), "second");
    EXPECT_EQ(std::count(sections.begin(), sections.end(), "first"), 1);
}

TEST_F(Services, DebugMessagesAreRecordedOldestFirstAndTakenOnce) {
    const unsigned int key = KXDebug::insertNewDebugSection("messages");
    KXDebug::debugPrintError(1, key, "%d %s", 42, "forty-two");
    KXDebug::debugPrintError(4, key, "trace");
    const auto messages = KXSimulation::takeDebugMessages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].level, 1);
    EXPECT_EQ(messages[0].section, "messages");
    EXPECT_EQ(messages[0].text, "42 forty-two");
    EXPECT_EQ(messages[1].level, 4);
    EXPECT_EQ(messages[1].text, "trace");
    EXPECT_THAT(KXSimulation::takeDebugMessages(), IsEmpty());
}

TEST_F(Services, DebugMessagesHaveAnyLength) {
    const std::string text(5000, 'x');
    KXDebug::debugPrintError(1, KXDebug::insertNewDebugSection("long"), "<%s>", text.c_str());
    const auto messages = KXSimulation::takeDebugMessages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].text, "<" + text + ">");
}

TEST_F(Services, DebugLevelBoundary) {
    const unsigned int key = KXDebug::insertNewDebugSection("levels");
    KXSimulation::setDebugLevel(2);
    for (int level = 1; level <= 3; ++level)
        KXDebug::debugPrintError(level, key, "%d", level);
    const auto messages = KXSimulation::takeDebugMessages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[1].text, "2");
    KXSimulation::reset();
    KXDebug::debugPrintError(4, key, "again");
    EXPECT_EQ(KXSimulation::takeDebugMessages().size(), 1u) << "reset records all again";
}

TEST_F(Services, DebugMessageWithAKeyOfNobodyHasNoSection) {
    KXDebug::debugPrintError(1, 0, "zero");
    KXDebug::debugPrintError(1, UINT_MAX, "beyond");
    const auto messages = KXSimulation::takeDebugMessages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].section, "");
    EXPECT_EQ(messages[1].section, "");
}

TEST_F(Services, DebugMessagesOfSeveralThreadsAreAllRecorded) {
    const auto sayMuch = [] {
        const unsigned int key = KXDebug::insertNewDebugSection("threads");
        for (int i = 0; i < 200; ++i)
            KXDebug::debugPrintError(1, key, "%d", i);
    };
    std::thread first(sayMuch);
    std::thread second(sayMuch);
    first.join();
    second.join();
    EXPECT_EQ(KXSimulation::takeDebugMessages().size(), 400u);
}

TEST_F(Services, MutexRefusesAndReportsTheThreadThatHoldsIt) {
    const std::unique_ptr<KXMutex> mutex(KXMutex::create());
    ASSERT_TRUE(mutex->lock());
    EXPECT_THAT(KXSimulation::takeDebugMessages(), IsEmpty());
    EXPECT_FALSE(mutex->lock());
    {
        const KXAutoLock lock(mutex.get()); // fails too and so must not unlock
    }
    const auto messages = KXSimulation::takeDebugMessages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].level, 1);
    EXPECT_EQ(messages[0].section, "kx_mutex");
    EXPECT_EQ(messages[0].text, doubleLockReport);
    EXPECT_EQ(messages[1].text, doubleLockReport);

    bool isHeldByOther = false;
    std::atomic<bool> tries{false};
    std::thread other([&] {
        tries = true;
        isHeldByOther = mutex->lock();
        if (isHeldByOther)
            mutex->unlock();
    });
    while (!tries)
        std::this_thread::yield();
    mutex->unlock();
    other.join();
    EXPECT_TRUE(isHeldByOther) << "another thread may wait for it";
    EXPECT_TRUE(mutex->lock()) << "it is free again for the first thread";
    mutex->unlock();
    EXPECT_THAT(KXSimulation::takeDebugMessages(), IsEmpty());
}

TEST_F(Services, MutexFaultIsNotUsedUpByTheThreadThatHoldsIt) {
    const std::unique_ptr<KXMutex> mutex(KXMutex::create());
    ASSERT_TRUE(mutex->lock());
    KXSimulation::failMutexLocks(1);
    EXPECT_FALSE(mutex->lock());
    mutex->unlock();
    EXPECT_FALSE(mutex->lock());
    EXPECT_TRUE(mutex->lock());
    mutex->unlock();
}

TEST_F(Services, MutexLocksFailAsOftenAsTold) {
    const std::unique_ptr<KXMutex> mutex(KXMutex::create());
    KXSimulation::failMutexLocks(2);
    EXPECT_FALSE(mutex->lock());
    {
        const KXAutoLock lock(mutex.get()); // fails too and so must not unlock
    }
    EXPECT_TRUE(mutex->lock());
    mutex->unlock();
}

TEST_F(Services, CreationsAreRefusedAsOftenAsTold) {
    KXSimulation::refuseMutexes(2);
    KXSimulation::refuseThreads(1);
    KXSimulation::refuseCANBuses(1);
    EXPECT_EQ(KXMutex::create(), nullptr);
    EXPECT_EQ(KXMutex::create(), nullptr);
    EXPECT_NE(std::unique_ptr<KXMutex>(KXMutex::create()), nullptr);
    EXPECT_EQ(KXThread::create("t"), nullptr);
    EXPECT_NE(std::unique_ptr<KXThread>(KXThread::create("t")), nullptr);
    EXPECT_EQ(KXCANRaw::create(0, 0, 0), nullptr);
    EXPECT_NE(std::unique_ptr<KXCANRaw>(KXCANRaw::create(0, 0, 0)), nullptr);
}

TEST_F(Services, ResetTakesBackAllFaultsAndSettings) {
    KXSimulation::failPipeInits(1);
    KXSimulation::failPipeWrites(1);
    KXSimulation::failPipeReads(1);
    KXSimulation::failMutexLocks(1);
    KXSimulation::refuseMutexes(1);
    KXSimulation::refuseThreads(1);
    KXSimulation::refuseCANBuses(1);
    KXSimulation::setPipeCapacity(0);
    KXSimulation::setCANBusDown(0, true);
    KXDebug::debugPrintError(1, 0, "old");
    OwnEndPoint endPoint;
    KXSimulation::setReadable(&endPoint, true);
    KXSimulation::reset();

    Trace trace;
    TracingHandler handler("h", trace, readOwn);
    KXEndPointManager manager;
    manager.addEndPoint(&endPoint, &handler);
    EXPECT_EQ(manager.waitForEndPoints(0, 0), 0);
    KXPipe pipe;
    char byte = 0;
    EXPECT_EQ(pipe.init(), 0);
    EXPECT_EQ(pipe.writeIntoPipe(&byte, 1), 0);
    EXPECT_EQ(pipe.readFromPipe(&byte, 1), 0);
    const std::unique_ptr<KXMutex> mutex(KXMutex::create());
    ASSERT_NE(mutex, nullptr);
    EXPECT_TRUE(mutex->lock());
    mutex->unlock();
    EXPECT_NE(std::unique_ptr<KXThread>(KXThread::create("t")), nullptr);
    EXPECT_NE(std::unique_ptr<KXCANRaw>(KXCANRaw::create(0, 0, 0)), nullptr);
    EXPECT_THAT(KXSimulation::takeDebugMessages(), IsEmpty());
}

TEST_F(Services, ResetForgetsFramesAndSettingsOfBuses) {
    {
        const std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 0, 0));
        bus->configure(3);
    }
    KXSimulation::scheduleCANFrame(0, 100, {});
    KXSimulation::reset();
    EXPECT_EQ(KXSimulation::getPendingCANFrames(), 0u);
    EXPECT_EQ(KXSimulation::getCANSetting(0), -1);
}

TEST_F(Services, LivingObjectsAreCounted) {
    EXPECT_EQ(KXSimulation::getLivingObjects(), 0u);
    {
        const std::unique_ptr<KXThread> thread(KXThread::create("t"));
        EXPECT_EQ(KXSimulation::getLivingObjects(), 1u);
        const std::unique_ptr<KXMutex> mutex(KXMutex::create());
        EXPECT_EQ(KXSimulation::getLivingObjects(), 2u);
        KXPipe pipe;
        EXPECT_EQ(KXSimulation::getLivingObjects(), 2u) << "not open yet";
        pipe.init();
        EXPECT_EQ(KXSimulation::getLivingObjects(), 3u);
        const KXEndPointManager manager;
        EXPECT_EQ(KXSimulation::getLivingObjects(), 4u);
        const std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 0, 0));
        EXPECT_EQ(KXSimulation::getLivingObjects(), 5u);
    }
    EXPECT_EQ(KXSimulation::getLivingObjects(), 0u);
}

using ServicesDeath = Services;

TEST_F(ServicesDeath, ResetSaysWhatIsStillThereAndAborts) {
    const auto resetAmong = [] {
        const std::unique_ptr<KXThread> thread(KXThread::create("t"));
        const std::unique_ptr<KXMutex> mutex(KXMutex::create());
        const std::unique_ptr<KXMutex> other(KXMutex::create());
        KXPipe pipe;
        pipe.init();
        const KXEndPointManager manager;
        KXSimulation::reset();
    };
    EXPECT_DEATH(resetAmong(), "KXSimulation::reset: still there: 1 threads, 2 mutexes, 1 open pipes, "
                               "1 end-point managers");
}

TEST_F(Services, ResetCutsOffACANEndPointThatIsLeftAndCountsItNoMore) {
    const std::unique_ptr<KXCANRaw> left(KXCANRaw::create(0, 0, 0));
    KXSimulation::reset();
    EXPECT_EQ(KXSimulation::getLivingObjects(), 0u);
    EXPECT_FALSE(left->isConnected());
    EXPECT_NE(left->reconnect(), 0);

    const std::unique_ptr<KXCANRaw> next(KXCANRaw::create(0, 0, 0));
    KXSimulation::scheduleCANFrame(0, 0, KXCANMessage());
    KXCANMessage frame;
    EXPECT_NE(left->readFrame(frame), 0);
    EXPECT_EQ(next->readFrame(frame), 0);
    EXPECT_EQ(KXSimulation::getLivingObjects(), 1u);
}

} // namespace KX::test

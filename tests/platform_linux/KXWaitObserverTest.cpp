#include "platform/linux/os_abs/KXWaitObserver.h"

#include "platform/KXEndPointManager.h"
#include "platform/KXTick.h"
#include "support/SocketEndPoint.h"
#include "support/Waiting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using KX::KXEndPointManager;
using KX::KXTick;
using testing::ElementsAre;
using testing::IsEmpty;

/// Notes what it is told, and by which thread.
class Notes : public KX::KXWaitObserver {
public:
    Notes() {
        KXWaitObserver::set(this);
    }
    ~Notes() override {
        KXWaitObserver::set(nullptr);
    }

    void onWaitBegins() override {
        words.emplace_back("begins");
    }
    void onWaitEnds() override {
        words.emplace_back("ends");
    }
    void onPassTick(unsigned int tick) override {
        words.emplace_back("tick");
        lastTick = tick;
    }

    std::vector<std::string> words;
    unsigned int lastTick = 0;
};

void look(KXEndPointManager& manager) {
    manager.waitForEndPoints(KXTick::getTickCount(), 0);
}

TEST(KXWaitObserver, hearsOfAWaitAndOfTheFirstTickBehindIt) {
    KXEndPointManager manager;
    Notes notes;
    look(manager);
    EXPECT_THAT(notes.words, ElementsAre("begins", "ends"));

    const unsigned int tick = KXTick::getTickCount();
    EXPECT_EQ(notes.lastTick, tick);
    KXTick::getTickCount();
    EXPECT_THAT(notes.words, ElementsAre("begins", "ends", "tick")) << "the second tick is not the pass's";
}

TEST(KXWaitObserver, takesTicksInsideTheWaitForNoPass) {
    KXEndPointManager manager;
    SocketEndPoint endPoint;
    RecordingHandler handler;
    handler.onReadable = [](SocketEndPoint&, KXEndPointManager&) { KXTick::getTickCount(); };
    manager.addEndPoint(&endPoint, &handler);
    endPoint.peerSends("x");
    Notes notes;
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 20000, 0), 1);
    EXPECT_EQ(handler.readable, 1);
    EXPECT_THAT(notes.words, ElementsAre("begins", "ends"));
}

TEST(KXWaitObserver, doesNotTakeTheTickOfANextWaitForAPass) {
    KXEndPointManager manager;
    Notes notes;
    const unsigned int tick = KXTick::getTickCount();
    manager.waitForEndPoints(tick, 0);
    manager.waitForEndPoints(tick, 0);
    EXPECT_THAT(notes.words, ElementsAre("begins", "ends", "begins", "ends"));
}

TEST(KXWaitObserver, tellsThreadsApart) {
    KXEndPointManager manager;
    Notes notes;
    look(manager);
    std::thread([] { KXTick::getTickCount(); }).join();
    EXPECT_THAT(notes.words, ElementsAre("begins", "ends")) << "the tick of a thread that did not wait";
    KXTick::getTickCount();
    EXPECT_THAT(notes.words, ElementsAre("begins", "ends", "tick"));
}

TEST(KXWaitObserver, hearsNothingOfAWaitThatBeganBefore) {
    KXEndPointManager manager;
    SocketEndPoint endPoint;
    RecordingHandler handler;
    manager.addEndPoint(&endPoint, &handler);
    std::unique_ptr<Notes> notes;
    handler.onReadable = [&notes](SocketEndPoint&, KXEndPointManager&) { notes = std::make_unique<Notes>(); };
    endPoint.peerSends("x");
    manager.waitForEndPoints(KXTick::getTickCount() + 20000, 0);
    KXTick::getTickCount();
    EXPECT_THAT(notes->words, IsEmpty());
}

TEST(KXWaitObserver, hearsNothingAfterItWasReplaced) {
    KXEndPointManager manager;
    Notes first;
    look(manager);
    KXTick::getTickCount();
    Notes second;
    look(manager);
    KXTick::getTickCount();
    EXPECT_THAT(first.words, ElementsAre("begins", "ends", "tick"));
    EXPECT_THAT(second.words, ElementsAre("begins", "ends", "tick"));
}

/// Keeps threads between their wait and their pass until it is opened.
class Gate : public KX::KXWaitObserver {
public:
    Gate() {
        KXWaitObserver::set(this);
    }
    ~Gate() override {
        KXWaitObserver::set(nullptr);
    }

    void onWaitBegins() override {}
    void onWaitEnds() override {
        std::unique_lock<std::mutex> guard(lock);
        threadIsKept = true;
        opened.wait(guard, [this] { return isOpen; });
    }
    void onPassTick(unsigned int /*tick*/) override {}

    void open() {
        const std::lock_guard<std::mutex> guard(lock);
        isOpen = true;
        opened.notify_all();
    }

    std::atomic<bool> threadIsKept{false};

private:
    std::mutex lock;
    bool isOpen = false; // guarded by lock
    std::condition_variable opened;
};

TEST(KXWaitObserver, mayKeepAThreadFromItsPassWhileOthersUseTheManager) {
    KXEndPointManager manager;
    SocketEndPoint endPoint;
    RecordingHandler handler;
    Gate gate;
    std::atomic<bool> passed{false};
    std::thread worker([&] {
        look(manager);
        passed = true;
    });
    ASSERT_TRUE(waitUntil([&gate] { return gate.threadIsKept.load(); }));
    EXPECT_EQ(manager.addEndPoint(&endPoint, &handler), 0);
    EXPECT_EQ(manager.removeEndPoint(&endPoint), 0);
    EXPECT_FALSE(passed);
    gate.open();
    worker.join();
    EXPECT_TRUE(passed);
}

} // namespace

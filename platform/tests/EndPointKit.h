#pragma once

#include "ThreadKit.h"
#include "platform/KXEndPointHandler.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXPipe.h"
#include "platform/KXTick.h"

#include <algorithm>

namespace KX::PlatformTests {

/// An end point that a test writes to, and that it can lose. Every platform has pipes, so it is one.
class TestEndPoint : public KXPipe {
public:
    TestEndPoint() { EXPECT_EQ(init(), STATUS_OK); }

    void send(std::string text) {
        EXPECT_EQ(writeIntoPipe(text.data(), static_cast<int>(text.size())), STATUS_OK);
    }

    /// All that can be read, at most \p most bytes.
    std::string receive(int most = 4096) {
        const int bytes = std::min(getNoOfBytesAvailable(), most);
        std::string text(static_cast<std::size_t>(bytes), '?');
        EXPECT_EQ(bytes > 0 ? readFromPipe(text.data(), bytes) : STATUS_OK, STATUS_OK);
        return text;
    }

    bool isConnected() const override { return isThere && KXPipe::isConnected(); }

    int reconnect() override {
        ++reconnects;
        if (onReconnect)
            onReconnect();
        if (!mayReturn)
            return STATUS_REFUSED;
        isThere = true;
        return KXPipe::reconnect();
    }

    std::atomic<bool> isThere{true};   ///< false: lost, as if the device had gone
    std::atomic<bool> mayReturn{true}; ///< whether reconnect succeeds
    std::atomic<int> reconnects{0};
    std::function<void()> onReconnect;
};

/// Counts the calls, and reads all.
class CountingHandler : public KXEndPointHandler {
public:
    void onEndPointReadable(KXEndPoint* endPoint, KXEndPointManager* manager) override {
        lastEndPoint = endPoint;
        lastManager = manager;
        auto& own = static_cast<TestEndPoint&>(*endPoint);
        text += own.receive(mostBytes);
        ++readable;
        if (onReadable)
            onReadable(own);
    }

    void onEndPointReconnected(KXEndPoint*) override { ++reconnected; }

    void onEndPointDisconnected(KXEndPoint* endPoint) override {
        ++disconnected;
        if (onDisconnected)
            onDisconnected(static_cast<TestEndPoint&>(*endPoint));
    }

    std::atomic<int> readable{0};
    std::atomic<int> reconnected{0};
    std::atomic<int> disconnected{0};

    // Used on the waiting thread.
    std::string text;
    int mostBytes = 4096;
    KXEndPoint* lastEndPoint = nullptr;
    KXEndPointManager* lastManager = nullptr;
    std::function<void(TestEndPoint&)> onReadable;
    std::function<void(TestEndPoint&)> onDisconnected;
};

class EndPointTest : public PlatformTest {
protected:
    int look() { return manager.waitForEndPoints(KXTick::getTickCount(), 0); }
    int waitFor(unsigned int ms) { return manager.waitForEndPoints(KXTick::getTickCount() + ms, 0); }

    /// Long enough that a wait which takes all of it has failed.
    int waitLong() { return waitFor(adapter().getPatienceMs()); }

    TestEndPoint endPoint;
    TestEndPoint other;
    CountingHandler handler;
    CountingHandler otherHandler;
    KXEndPointManager manager; // last: what is registered lives longer
};

/// A thread that waits on a manager until its end.
class Waiter {
public:
    Waiter(KXEndPointManager& waitedFor, unsigned int msOfEachWait)
        : manager(waitedFor), waitMs(msOfEachWait), thread([this] { run(); }) {
        EXPECT_EQ(manager.addEndPoint(&stopper, &stopHandler), STATUS_OK);
        EXPECT_EQ(thread.start(), STATUS_OK);
    }

    ~Waiter() {
        isStopped = true;
        stopper.send("x");
        EXPECT_EQ(thread.stopAndWait(), STATUS_OK);
        EXPECT_EQ(manager.removeEndPoint(&stopper), STATUS_OK);
    }

private:
    void run() {
        while (!isStopped)
            manager.waitForEndPoints(KXTick::getTickCount() + waitMs, 0);
    }

    KXEndPointManager& manager;
    const unsigned int waitMs;
    std::atomic<bool> isStopped{false};
    TestEndPoint stopper;
    CountingHandler stopHandler;
    BodyThread thread; // last: it uses the others
};

/// A wait that ends only if somebody wakes it: longer than a test is patient.
inline unsigned int endlessMs() {
    return adapter().getPatienceMs() + adapter().getPatienceMs() / 2;
}

} // namespace KX::PlatformTests

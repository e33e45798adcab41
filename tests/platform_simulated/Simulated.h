#pragma once

#include "platform/KXEndPoint.h"
#include "platform/KXEndPointHandler.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXThread.h"
#include "platform/KXTick.h"
#include "platform/simulated/KXSimulation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace KX::test {

/// Each test begins and ends without platform objects.
class Simulated : public testing::Test {
protected:
    void SetUp() override { KXSimulation::reset(); }

    void TearDown() override {
        EXPECT_EQ(KXSimulation::getLivingObjects(), 0u) << "the test left platform objects behind";
    }
};

/// What the debug record says of a thread that locks a mutex twice.
constexpr char doubleLockReport[] =
    "a thread locks a mutex that it holds already; an after-post hook must not hand input in";

/// What happened, one line each. Needs no lock: the driver and the simulated threads run one at a time.
using Trace = std::vector<std::string>;

inline std::string atTick(const std::string& what) {
    return what + "@" + std::to_string(KXTick::getTickCount());
}

/// A simulated thread with a function object as its body.
class Script {
public:
    Script(const std::string& name, std::function<void()> threadBody)
        : body(std::move(threadBody)), thread(KXThread::create(name)) {
        thread->setEntryFunction(
            [](void* self) -> void* {
                static_cast<Script*>(self)->body();
                return nullptr;
            },
            this);
    }

    int start() { return thread->start(0, 0); }

    int stopAndWait() { return thread->stopAndWait(); }

private:
    std::function<void()> body;
    std::unique_ptr<KXThread> thread;
};

/// A thread that waits again and again and notes each return, as the worker of an event layer does.
class Worker {
public:
    Worker(const std::string& workerName, Trace& workerTrace, unsigned int stepMs)
        : name(workerName), trace(workerTrace), step(stepMs), script(workerName, [this] { run(); }) {
        EXPECT_EQ(script.start(), 0);
    }

    ~Worker() { stop(); }

    void stop() {
        stopped = true;
        EXPECT_EQ(script.stopAndWait(), 0);
    }

    KXEndPointManager& getManager() { return manager; }

private:
    void run() {
        while (!stopped) {
            const int called = manager.waitForEndPoints(KXTick::getTickCount() + step, 0);
            trace.push_back(atTick(called == 0 ? name : name + "!" + std::to_string(called)));
        }
    }

    std::string name;
    Trace& trace;
    unsigned int step;
    bool stopped = false;
    KXEndPointManager manager;
    Script script; // last: its thread uses all of the above
};

/// Records each call, and reads by the function that it is given.
class TracingHandler : public KXEndPointHandler {
public:
    TracingHandler(const std::string& handlerName, Trace& handlerTrace,
                   std::function<void(KXEndPoint*)> readAction)
        : name(handlerName), trace(handlerTrace), read(std::move(readAction)) {}

    void onEndPointReadable(KXEndPoint* endPoint, KXEndPointManager*) override {
        trace.push_back(atTick(name + " readable"));
        read(endPoint);
    }

    void onEndPointReconnected(KXEndPoint*) override { trace.push_back(atTick(name + " back")); }

    void onEndPointDisconnected(KXEndPoint*) override { trace.push_back(atTick(name + " lost")); }

private:
    std::string name;
    Trace& trace;
    std::function<void(KXEndPoint*)> read;
};

/// An end point of the program's own class.
class OwnEndPoint : public KXEndPoint {
public:
    int getReadEndPointID() const override { return connected ? 1 : -1; }

    int getWriteEndPointID() const override { return -1; }

    bool isConnected() const override { return connected; }

    int reconnect() override {
        ++reconnects;
        connected = reconnectStatus == 0;
        return reconnectStatus;
    }

    bool connected = true;
    int reconnectStatus = 0;
    int reconnects = 0;
};

/// Reads an \ref OwnEndPoint: it is not readable any more.
inline void readOwn(KXEndPoint* endPoint) {
    KXSimulation::setReadable(endPoint, false);
}

} // namespace KX::test

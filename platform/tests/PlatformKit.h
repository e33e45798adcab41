#pragma once

#include "platform/tests/KXPlatformAdapter.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

/// What the platform tests share. It needs no platform, so a port can be tested piece by piece.
namespace KX::PlatformTests {

KXPlatformAdapter& adapter();

/// Lets time pass until a condition holds that another thread or the system brings about.
/// \return false when it does not hold within the adapter's patience
template<class Condition>
bool eventually(Condition condition) {
    using Clock = std::chrono::steady_clock;
    const unsigned int patienceMs = adapter().getPatienceMs();
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(patienceMs);
    for (unsigned int passedMs = 0; !condition(); ++passedMs) {
        // Threads of the system need real time, however fast that of the platform passes.
        if (passedMs >= patienceMs && Clock::now() >= end)
            return false;
        adapter().passTime(1);
    }
    return true;
}

/// Base of all tests. Platform objects may be members of derived classes.
class PlatformTest : public testing::Test {
protected:
    PlatformTest() { adapter().beginTest(); }
    ~PlatformTest() override { adapter().endTest(); }
};

/// Threads meet here: each call returns when all have come. For threads of the C++ library only.
class Meeting {
public:
    explicit Meeting(int threads) : missing(threads) {}

    void join() {
        std::unique_lock<std::mutex> lock(mutex);
        if (--missing == 0)
            isComplete.notify_all();
        isComplete.wait(lock, [this] { return missing == 0; });
    }

private:
    std::mutex mutex;
    std::condition_variable isComplete;
    int missing;
};

} // namespace KX::PlatformTests

#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace KX {

/// Hands the right to run from one thread to another: given once, taken once.
class Baton {
public:
    void give() {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            given.store(true, std::memory_order_release);
        }
        changed.notify_one();
    }

    void take() {
        if (takeSpinning())
            return;
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return given.load(std::memory_order_acquire); });
        given.store(false, std::memory_order_relaxed);
    }

private:
    // The other thread usually gives the baton back within microseconds, less than a sleep and a wake-up cost. On
    // one core it cannot run meanwhile, so spinning gains nothing.
    bool takeSpinning() {
        static const int rounds = std::thread::hardware_concurrency() > 1 ? 5000 : 0;
        for (int i = 0; i < rounds; ++i) {
            if (given.load(std::memory_order_acquire)) {
                given.store(false, std::memory_order_relaxed);
                return true;
            }
        }
        return false;
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::atomic<bool> given{false}; // set under mutex, so that a blocking taker cannot miss it
};

} // namespace KX

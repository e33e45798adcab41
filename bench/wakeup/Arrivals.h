#pragma once

#include "bench/support/Numbered.h"

#include <chrono>
#include <cstdint>
#include <semaphore.h>

/// What has arrived in the thread that waits, seen by the thread that posts. Both sleep while the other one works,
/// so that on a single core neither takes the processor from the other.
class Arrivals {
public:
    using Clock = std::chrono::steady_clock;

    /// The number that ends the waiting.
    static constexpr std::uint32_t lastNumber = UINT32_MAX;

    Arrivals();
    ~Arrivals();
    Arrivals(const Arrivals&) = delete;
    Arrivals& operator=(const Arrivals&) = delete;

    /// Says that the other thread will wait from now on. Waiting thread.
    void getReady();

    /// Notes when an event was taken. Waiting thread.
    /// \return whether more are to come
    bool take(std::uint32_t number);

    /// Sleeps until the other thread is ready or has taken an event. Posting thread.
    void wait();

    /// When the event that was waited for was taken. Posting thread.
    Clock::time_point getTakenAt() const;

    const Bench::OrderCheck& getOrder() const;

private:
    // Written by the waiting thread before it wakes the posting one, which reads them after that.
    Clock::time_point takenAt;
    Bench::OrderCheck order;

    sem_t taken;
};

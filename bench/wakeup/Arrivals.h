#pragma once

#include "bench/support/Payload.h"

#include <boost/noncopyable.hpp>
#include <chrono>
#include <functional>
#include <semaphore.h>

namespace Bench {

/// What has arrived in the thread that waits, seen by the thread that posts. Each sleeps while the other works, so on
/// one core neither takes the processor from the other.
class Arrivals : private boost::noncopyable {
public:
    using Clock = std::chrono::steady_clock;

    /// The number that ends the waiting.
    static constexpr std::uint32_t lastNumber = UINT32_MAX;

    Arrivals() {
        sem_init(&taken, 0, 0);
    }
    ~Arrivals() {
        sem_destroy(&taken);
    }

    /// The waiting thread says that it waits from now on.
    /// \param stop  ends its loop
    void getReady(std::function<void()> stop) {
        end = std::move(stop);
        sem_post(&taken);
    }

    /// The waiting thread notes that it has taken an event or a record.
    template<class Payload>
    void take(const Payload& payload) {
        takenAt = Clock::now();
        if (payload.eventData[0] == lastNumber) {
            end();
            return;
        }
        order.take(payload);
        sem_post(&taken);
    }

    /// The posting thread sleeps until the other one is ready or has taken an event.
    void wait() {
        while (sem_wait(&taken) != 0) {
            // EINTR: somebody's signal, a debugger's for instance
        }
    }

    // Written by the waiting thread before it wakes the posting one, which reads them after that.
    Clock::time_point takenAt;
    OrderCheck order;

private:
    std::function<void()> end; // the waiting thread's alone
    sem_t taken;
};

} // namespace Bench

#pragma once

#include "bench/support/Numbered.h"

#include <array>
#include <boost/thread/locks.hpp>
#include <boost/thread/mutex.hpp>
#include <cstddef>
#include <deque>

/// What a queue cannot do without: two copies, and a lock for each operation. Their callers have a holder at hand, so
/// that nothing needs to be converted.
namespace Bench {

/// For one thread only, and no more than the capacity may wait.
class UnlockedRing {
public:
    using Item = KX::KXSomeEvent;

    void post(const Item& holder) {
        slots[end++ % capacity] = holder;
    }

    template<class Order>
    bool take(Order& order) {
        if (begin == end)
            return false;
        const KX::KXSomeEvent oldest(slots[begin++ % capacity]);
        order.take(getNumber(oldest));
        return true;
    }

private:
    static constexpr std::size_t capacity = 1024;
    std::array<KX::KXSomeEvent, capacity> slots;
    std::size_t begin = 0;
    std::size_t end = 0;
};

class LockedDeque {
public:
    using Item = KX::KXSomeEvent;

    void post(const Item& holder) {
        const boost::unique_lock<boost::mutex> lock(mutex);
        waiting.push_back(holder);
    }

    template<class Order>
    bool take(Order& order) {
        boost::unique_lock<boost::mutex> lock(mutex);
        if (waiting.empty())
            return false;
        const KX::KXSomeEvent oldest(waiting.front());
        waiting.pop_front();
        lock.unlock();
        order.take(getNumber(oldest));
        return true;
    }

private:
    boost::mutex mutex;
    std::deque<KX::KXSomeEvent> waiting; // guarded by mutex
};

} // namespace Bench

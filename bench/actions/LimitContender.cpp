#include "Scenarios.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <deque>

namespace Bench {
namespace {

/// The least that a queue between threads takes: nothing but the items and a lock around each post and each take.
class LimitContender {
public:
    explicit LimitContender(bool) {}

    void post(const Item& item) {
        const boost::lock_guard<boost::mutex> lock(mutex);
        items.push_back(item);
    }

    void runAll() {
        Item item;
        while (take(item)) {
            run(item);
        }
    }

private:
    bool take(Item& item) {
        const boost::lock_guard<boost::mutex> lock(mutex);
        if (items.empty()) {
            return false;
        }
        item = items.front();
        items.pop_front();
        return true;
    }

    boost::mutex mutex;
    std::deque<Item> items;
};

const bool isAdded = addContender<LimitContender>("mutex and deque");

} // namespace
} // namespace Bench

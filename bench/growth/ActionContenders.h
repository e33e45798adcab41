#pragma once

#include "actions/KXActionQueue.h"
#include "bench/actions/Item.h"
#include "events/KXEvent.h"
#include "platform/KXTick.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <deque>

/// Whoever posts items and runs them.
namespace Bench {

template<bool detectsLoops>
class ActionQueue {
public:
    void post(const Item& item) {
        KX::KXEvent event;
        event.eventType = static_cast<int>(item.eventType);
        queue.postAction(item.action, &event, item.object);
    }

    void runAll() {
        queue.executeActions(deadline, detectsLoops);
    }

private:
    KX::KXActionQueue queue;
    const unsigned int deadline = KX::KXTick::getTickCount() + 3600000;
};

class ActionDeque {
public:
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
    std::deque<Item> items; // guarded by mutex
};

class AsioActions {
public:
    void post(const Item& item) {
        boost::asio::post(context, [item] { run(item); });
    }

    void runAll() {
        context.restart();
        context.poll();
    }

private:
    boost::asio::io_context context{1};
};

} // namespace Bench

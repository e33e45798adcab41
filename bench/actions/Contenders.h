#pragma once

#include "actions/KXActionQueue.h"
#include "bench/actions/Item.h"
#include "events/KXEvent.h"
#include "platform/KXTick.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <deque>

/// The contenders of every program that measures actions; Scenarios.h tells what all contenders have in common. Any
/// number of threads may post to these.
namespace Bench {

/// The action queue of the library, which looks for loops in a chain.
class OwnActions {
public:
    explicit OwnActions(bool isChain) : detectsLoops(isChain) {
        event.eventType = eventTypeOfItems;
    }

    void post(const Item& item) {
        queue.postAction(item.action, &event, item.object);
    }

    void runAll() {
        queue.executeActions(deadline, detectsLoops);
    }

private:
    KX::KXActionQueue queue;
    KX::KXEvent event; // never changes
    const unsigned int deadline = KX::KXTick::getTickCount() + 3600000;
    const bool detectsLoops;
};

/// The least that a queue between threads takes: nothing but the items and a lock around each post and each take.
class LockedItems {
public:
    explicit LockedItems(bool) {}

    void post(const Item& item) {
        const boost::lock_guard<boost::mutex> lock(mutex);
        items.push_back(item);
    }

    void runAll() {
        Item item;
        while (take(item))
            run(item);
    }

private:
    bool take(Item& item) {
        const boost::lock_guard<boost::mutex> lock(mutex);
        if (items.empty())
            return false;
        item = items.front();
        items.pop_front();
        return true;
    }

    boost::mutex mutex;
    std::deque<Item> items; // guarded by mutex
};

/// An io_context that one thread runs, as its documents advise for that case: with the hint 1, and with a work
/// guard, so that it does not stop when it has run out of handlers.
class AsioActions {
public:
    explicit AsioActions(bool) {}

    void post(const Item& item) {
        boost::asio::post(
            context, [item] { run(item); });
    }

    void runAll() {
        context.poll();
    }

private:
    boost::asio::io_context context{1};
    const boost::asio::executor_work_guard<boost::asio::io_context::executor_type> guard =
        boost::asio::make_work_guard(context);
};

} // namespace Bench

#pragma once

#include "bench/support/Numbered.h"
#include "events/KXEventQueue.h"

#include <memory>

namespace Bench {

/// The library's queues, by their interface, as an application uses them.
template<KX::KXEventQueue::eventQueueType type>
class OwnQueue {
public:
    using Item = KX::KXInputEvent;

    void post(Item& event) {
        queue->postEvent(event);
    }

    template<class Order>
    bool take(Order& order) {
        const KX::KXSomeEvent holder = queue->getNextEvent();
        // An empty queue gives a holder without a type, as others give a null pointer.
        const bool taken = holder.eventType != 0;
        if (taken)
            order.take(getNumber(holder));
        return taken;
    }

private:
    const std::unique_ptr<KX::KXEventQueue> queue{KX::KXEventQueue::create(type)};
};

} // namespace Bench

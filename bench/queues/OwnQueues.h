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

    bool take(OrderCheck& order) {
        if (type == KX::KXEventQueue::EVENT_QUEUE_AS_QUEUE && queue->isEmpty()) {
            return false;
        }
        const KX::KXSomeEvent holder = queue->getNextEvent();
        order.take(getNumber(holder));
        return holder.eventType != 0;
    }

private:
    const std::unique_ptr<KX::KXEventQueue> queue{KX::KXEventQueue::create(type)};
};

} // namespace Bench

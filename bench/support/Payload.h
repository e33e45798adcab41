#pragma once

#include "events/KXEventClass.h"
#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "events/KXSomeEvent.h"

#include <cstdint>
#include <type_traits>

/// The payload, the same for every contender. Its first word of data is a number, by which the order is checked.
namespace Bench {

/// As many bytes as a key press takes in a pipe, for contenders that move bytes.
struct Record {
    std::uint32_t eventData[34] = {};
};
static_assert(sizeof(Record) == 136);

/// A classified key press, or a holder of one; an item of another type as it is made.
template<class Item>
Item makeItem() {
    if constexpr (std::is_constructible_v<Item, KX::KXInputEvent&>) {
        KX::KXInputEvent event;
        event.eventClass = KX::INPUT_EVENT_CLASS;
        event.eventType = KX::KEY_PRESS_EVENT;
        event.keyCode = KX::KX_KEY_HOME;
        return Item(event);
    } else {
        return Item();
    }
}

/// Takes what comes out, and checks that the numbers of each thread that posts come in order. The upper two bits of a
/// number tell the thread. One thread's.
struct OrderCheck {
    static constexpr unsigned int threadShift = 30;

    template<class Payload>
    void take(const Payload& payload) {
        const std::uint32_t number = payload.eventData[0];
        std::uint32_t& expected = next[number >> threadShift];
        isRight = isRight && number == expected;
        expected = number + 1;
    }

    /// The number that is expected next from each thread.
    std::uint32_t next[4] = {0, 1U << threadShift, 2U << threadShift, 3U << threadShift};

    bool isRight = true;
};

/// A number of events that one thread posts, with numbers that go on.
template<class Contender>
struct Events {
    Events(OrderCheck& itsOrder, std::size_t itsCount, std::size_t itsThread = 0)
        : order(itsOrder), count(itsCount), thread(itsThread) {}

    void postTo(Contender& contender) {
        for (std::size_t i = 0; i < count; ++i) {
            item.eventData[0] = number++;
            contender.post(item);
        }
    }

    bool isComplete() const { return order.next[thread] == number; }

    bool isRight() const { return order.isRight; }

    OrderCheck& order;
    const std::size_t count;
    const std::size_t thread;
    std::uint32_t number = order.next[thread];
    typename Contender::Item item = makeItem<typename Contender::Item>();
};

} // namespace Bench

#pragma once

#include "events/KXEvent.h"
#include "events/KXEventClass.h"
#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "events/KXSomeEvent.h"

#include <cstdint>
#include <type_traits>

/// The payload, the same for every contender. It carries a number, by which a contender is seen to keep the order.
namespace Bench {

/// As many bytes as a key press takes in a pipe, for contenders that move bytes.
struct Record {
    std::uint32_t number = 0;
    unsigned char rest[132] = {};
};
static_assert(sizeof(Record) == 136);

/// A classified key press, for contenders that move events.
inline KX::KXInputEvent makeEvent(std::uint32_t number) {
    KX::KXInputEvent event;
    event.eventClass = KX::INPUT_EVENT_CLASS;
    event.eventType = KX::KEY_PRESS_EVENT;
    event.keyCode = KX::KX_KEY_HOME;
    event.eventData[0] = number;
    return event;
}

/// An event, a holder or a record.
template<class Item>
Item makeItem() {
    if constexpr (std::is_constructible_v<Item, KX::KXInputEvent&>) {
        KX::KXInputEvent event = makeEvent(0);
        return Item(event);
    } else {
        return Item();
    }
}

inline std::uint32_t getNumber(const KX::KXEvent& event) {
    return event.eventData[0];
}

inline std::uint32_t getNumber(const Record& record) {
    return record.number;
}

inline void setNumber(KX::KXEvent& event, std::uint32_t number) {
    event.eventData[0] = number;
}

/// A press as the toolkit reports it. Presses are a second apart: no double presses.
inline void setNumber(KX::KXToolkitEvent& event, std::uint32_t number) {
    event.eventData[0] = number;
    event.timeStamp = 1000 * number;
}

inline void setNumber(Record& record, std::uint32_t number) {
    record.number = number;
}

/// Takes what comes out, and checks that the numbers of each thread that posts come in order. The upper two bits of a
/// number tell the thread. One thread's.
class OrderCheck {
public:
    static constexpr std::uint32_t getFirstNumber(std::uint32_t thread) {
        return thread << threadShift;
    }

    template<class Payload>
    void take(const Payload& payload) {
        const std::uint32_t number = getNumber(payload);
        std::uint32_t& expected = next[number >> threadShift];
        wrongNumbers += number != expected ? 1U : 0U;
        expected = number + 1;
    }

    /// The number that is expected next from this thread.
    std::uint32_t getNext(std::uint32_t thread) const {
        return next[thread];
    }

    bool isRight() const {
        return wrongNumbers == 0;
    }

private:
    static constexpr unsigned int threadShift = 30;

    std::uint32_t next[4] = {getFirstNumber(0), getFirstNumber(1), getFirstNumber(2), getFirstNumber(3)};
    std::uint32_t wrongNumbers = 0;
};

/// A number of events that one thread posts, with numbers that go on.
template<class Contender>
class Events {
public:
    Events(OrderCheck& itsOrder, std::uint32_t itsCount, std::uint32_t itsThread = 0)
        : order(itsOrder), count(itsCount), thread(itsThread) {}

    void postTo(Contender& contender) {
        for (std::uint32_t i = 0; i < count; ++i) {
            setNumber(item, number++);
            contender.post(item);
        }
    }

    bool isComplete() const {
        return order.getNext(thread) == number;
    }

    bool isRight() const {
        return order.isRight();
    }

    std::uint32_t getCount() const {
        return count;
    }

private:
    OrderCheck& order;
    const std::uint32_t count;
    const std::uint32_t thread;
    std::uint32_t number = OrderCheck::getFirstNumber(thread);
    typename Contender::Item item = makeItem<typename Contender::Item>();
};

} // namespace Bench

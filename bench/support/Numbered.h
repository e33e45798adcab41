#pragma once

#include "events/KXEvent.h"
#include "events/KXEventType.h"
#include "events/KXSomeEvent.h"

#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>

/// What the programs that compare have in common: a payload that is the same for every contender and bears a
/// number, and the check that the numbers come out in order.
namespace Bench {

/// What a key press takes in a pipe, for contenders that move bytes.
struct Record {
    std::uint32_t number = 0;
    unsigned char rest[132] = {};
};
static_assert(sizeof(Record) == 136);

/// The event that is posted, for contenders that move events. Class 3, as a classified key press has it.
inline KX::KXInputEvent makeEvent(std::uint32_t number) {
    KX::KXInputEvent event;
    event.eventClass = 3;
    event.eventType = KX::KEY_PRESS_EVENT;
    event.keyCode = 1;
    event.eventData[0] = number;
    return event;
}

inline std::uint32_t getNumber(const KX::KXEvent& event) {
    return event.eventData[0];
}

inline std::uint32_t getNumber(const Record& record) {
    return record.number;
}

/// Counts what comes out. To be used by one thread.
class OrderCheck {
public:
    /// Takes the next number; the first one expected is 0.
    void take(std::uint32_t number) {
        wrongNumbers += number != next ? 1U : 0U;
        next = number + 1;
    }

    /// The number that is expected next, which is how many came when none was wrong.
    std::uint32_t getNext() const {
        return next;
    }

    std::uint32_t getWrongNumbers() const {
        return wrongNumbers;
    }

    /// Ends the benchmark with an error when a number came out of order, twice or not at all between others. To be
    /// called once, after a loop that has waited for the last one.
    void report(benchmark::State& state) const {
        if (wrongNumbers != 0)
            state.SkipWithError("something came twice, out of order or not at all");
    }

private:
    std::uint32_t next = 0;
    std::uint32_t wrongNumbers = 0;
};

} // namespace Bench

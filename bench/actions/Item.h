#pragma once

#include "platform/KXAction.h"

#include <benchmark/benchmark.h>
#include <cstddef>

/// The payload of every contender: five words, which is what an item of the action queue takes.
namespace Bench {

struct Item {
    KX::KXAction* action;
    KX::KXAction* trigger;
    std::size_t eventType;
    void* object;
    std::size_t count;
};
static_assert(sizeof(Item) == 5 * sizeof(void*));

/// What every contender does with an item that has come out.
inline void run(const Item& item) {
    benchmark::DoNotOptimize(item); // all five words, also where the compiler sees that one is used
    if (item.action->isReady()) {
        item.action->execute(nullptr);
    }
}

} // namespace Bench

#pragma once

#include "events/KXEventType.h"
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

/// The event on which all items are posted.
constexpr KX::KXEventType eventTypeOfItems = KX::KEY_PRESS_EVENT;

/// An action with a number, which tells its owner by \c hasRun(action) when it has run.
template<class Owner>
class NumberedAction : public KX::KXAction {
public:
    bool isReady() override {
        return true;
    }

    void execute(void*) override {
        owner->hasRun(*this);
    }

    Owner* owner = nullptr;
    std::size_t number = 0;
};

/// What every contender does with an item that has come out.
inline void run(const Item& item) {
    benchmark::DoNotOptimize(item); // all five words, also where the compiler sees that one is used
    if (item.action->isReady())
        item.action->execute(nullptr);
}

} // namespace Bench

#pragma once

#include "bench/support/Heap.h"
#include "events/KXEventType.h"
#include "platform/KXAction.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <random>
#include <vector>

/// What the contenders are given to do.
namespace Bench {

/// The payload of every contender: five words, as an item of the action queue.
struct ActionItem {
    KX::KXAction* action;
    KX::KXAction* trigger;
    std::size_t eventType;
    void* object;
    std::size_t count;
};
static_assert(sizeof(ActionItem) == 5 * sizeof(void*));

constexpr KX::KXEventType eventTypeOfItems = KX::KEY_PRESS_EVENT;

/// Runs what comes out.
struct Runner {
    static void take(const ActionItem& item) {
        benchmark::DoNotOptimize(item); // all five words, also where the compiler sees that one is used
        if (item.action->isReady())
            item.action->execute(nullptr);
    }
};

/// Actions that are posted in order, each for an object. Either all wait at once, or they are a chain, in which each
/// posts the next. A chain has few actions, which take turns, but different objects: it is long and no loop. The
/// objects lie in memory in another order, as an application's do.
template<class Contender, bool isChain>
class Actions {
public:
    explicit Actions(std::size_t itsCount) : count(itsCount), actions(isChain ? 16 : count), objects(count) {
        for (std::size_t i = 0; i < actions.size(); ++i) {
            actions[i].owner = this;
            actions[i].place = i;
        }
        for (Object& object : objects)
            order.push_back(&object);
        if (isChain)
            std::shuffle(order.begin(), order.end(), std::mt19937(1));
    }

    void postTo(Contender& itsContender) {
        contender = &itsContender;
        ran = next = 0;
        if (isChain)
            post(0, nullptr);
        else
            for (std::size_t i = 0; i < count; ++i)
                contender->post({&actions[i], nullptr, eventTypeOfItems, order[i], 0});
    }

    bool isComplete() const {
        return ran == count;
    }

    bool isRight() const {
        return wrongPlaces == 0;
    }

    const std::size_t count;
    std::size_t* bytesAtTheEnd = nullptr; ///< where to note the bytes of the heap at the last post of a chain

private:
    struct Object {
        char state[64];
    };

    struct Action : KX::KXAction {
        bool isReady() override {
            return true;
        }

        void execute(void*) override {
            owner->hasRun(*this);
        }

        Actions* owner = nullptr;
        std::size_t place = 0;
    };

    void hasRun(Action& action) {
        wrongPlaces += action.place != next ? 1U : 0U;
        next = next + 1 < actions.size() ? next + 1 : 0;
        if (++ran < count && isChain)
            post(next, &action);
    }

    void post(std::size_t place, KX::KXAction* trigger) {
        contender->post({&actions[place], trigger, eventTypeOfItems, order[ran], ran});
        if (bytesAtTheEnd && ran + 1 == count)
            *bytesAtTheEnd = getHeapBytes();
    }

    Contender* contender = nullptr;
    std::vector<Action> actions;
    std::vector<Object> objects;
    std::vector<Object*> order;
    std::size_t ran = 0;
    std::size_t next = 0; // the place that is to run next
    std::size_t wrongPlaces = 0;
};

} // namespace Bench

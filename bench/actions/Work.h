#pragma once

#include "bench/support/Heap.h"
#include "events/KXEventType.h"
#include "platform/KXAction.h"

#include <algorithm>
#include <array>
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

/// An action that tells its owner by \c hasRun(action) when it has run.
template<class Owner>
class NumberedAction : public KX::KXAction {
public:
    bool isReady() override {
        return true;
    }

    void execute(void*) override {
        owner->hasRun(*this);
    }

    template<class Actions>
    static void number(Actions& actions, Owner* owner) {
        for (std::size_t i = 0; i < actions.size(); ++i) {
            actions[i].owner = owner;
            actions[i].place = i;
        }
    }

    Owner* owner = nullptr;
    std::size_t place = 0;
};

/// As many actions as wait at once.
class Waiting {
public:
    explicit Waiting(std::size_t count) : actions(count) {
        Action::number(actions, this);
    }

    template<class Contender>
    void postTo(Contender& contender) {
        next = 0;
        for (Action& action : actions)
            contender.post({&action, nullptr, eventTypeOfItems, &action, 0});
    }

    bool isComplete() const {
        return next == actions.size();
    }

    bool isRight() const {
        return wrongPlaces == 0;
    }

    std::size_t getCount() const {
        return actions.size();
    }

private:
    using Action = NumberedAction<Waiting>;
    friend Action;

    void hasRun(const Action& action) {
        wrongPlaces += action.place != next ? 1U : 0U;
        next = action.place + 1;
    }

    std::vector<Action> actions;
    std::size_t next = 0;
    std::size_t wrongPlaces = 0;
};

/// Few actions that post each other in a circle, each time for another object: a long chain that is no loop. The
/// objects lie in memory in another order than that of the chain, as an application's do.
template<class Contender>
class Chain {
public:
    explicit Chain(std::size_t count) : objects(count) {
        Action::number(actions, this);
        for (Object& object : objects)
            order.push_back(&object);
        std::shuffle(order.begin(), order.end(), std::mt19937(1));
    }

    void postTo(Contender& itsContender) {
        contender = &itsContender;
        step = 0;
        post(nullptr);
    }

    bool isComplete() const {
        return step == order.size();
    }

    bool isRight() const {
        return wrongPlaces == 0;
    }

    std::size_t getCount() const {
        return order.size();
    }

    /// Lets the last post note the bytes of the heap. What the contender keeps of all others shows by then.
    void noteHeap() {
        notedStep = order.size() - 1;
    }

    std::size_t getNotedBytes() const {
        return notedBytes;
    }

private:
    using Action = NumberedAction<Chain>;
    friend Action;

    struct Object {
        char state[64];
    };

    void hasRun(Action& action) {
        wrongPlaces += action.place != step % actions.size() ? 1U : 0U;
        if (++step < order.size())
            post(&action);
    }

    void post(KX::KXAction* trigger) {
        contender->post({&actions[step % actions.size()], trigger, eventTypeOfItems, order[step], step});
        if (step == notedStep)
            notedBytes = getHeapBytes();
    }

    Contender* contender = nullptr;
    std::array<Action, 16> actions;
    std::vector<Object> objects;
    std::vector<Object*> order;
    std::size_t step = 0;
    std::size_t wrongPlaces = 0;
    std::size_t notedStep = static_cast<std::size_t>(-1);
    std::size_t notedBytes = 0;
};

} // namespace Bench

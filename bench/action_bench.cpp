// Posting and running actions: many that wait, chains in which each posts the next, and several threads that post.
// libuv is no contender: it has no queue of calls.

#include "actions/KXActionQueue.h"
#include "bench/support/Carriers.h"
#include "bench/support/Measurement.h"
#include "bench/support/Scenarios.h"
#include "events/KXEventType.h"
#include "platform/KXAction.h"
#include "platform/KXTick.h"

#include <algorithm>
#include <array>
#include <glib.h>
#include <memory>
#include <random>
#include <vector>

namespace Bench {
namespace {

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
        for (auto& object : objects)
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

    bool isComplete() const { return ran == count; }

    bool isRight() const { return wrongPlaces == 0; }

    const std::size_t count;
    std::size_t* bytesAtTheEnd = nullptr; ///< where to note the bytes of the heap at the last post of a chain

private:
    struct Action : KX::KXAction {
        bool isReady() override { return true; }

        void execute(void*) override { owner->hasRun(*this); }

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
    std::vector<std::array<char, 64>> objects;
    std::vector<void*> order;
    std::size_t ran = 0;
    std::size_t next = 0; // the place that is to run next
    std::size_t wrongPlaces = 0;
};

template<bool detectsLoops>
struct OwnActions {
    OwnActions() { event.eventType = eventTypeOfItems; }

    void post(const ActionItem& item) { queue.postAction(item.action, &event, item.object); }

    bool take(Runner&) {
        queue.executeActions(deadline, detectsLoops);
        return false;
    }

    KX::KXActionQueue queue;
    KX::KXEvent event; // never changes
    const unsigned int deadline = KX::KXTick::getTickCount() + 3600000;
};

/// Runs all that waits, as an action queue does: it asks once more than it takes.
struct DrainedDeque : LockedDeque<ActionItem> {
    bool take(Runner& runner) {
        while (LockedDeque::take(runner)) {
        }
        return false;
    }
};

/// Idle calls of GLib's default main context, or of a main context of their own.
template<bool isDefault>
struct GLibActions {
    void post(const ActionItem& item) {
        const gpointer posted = g_slice_dup(ActionItem, &item);
        if (isDefault) {
            g_idle_add_full(G_PRIORITY_DEFAULT, &runPosted, posted, &freePosted);
            return;
        }
        GSource* const source = g_idle_source_new();
        g_source_set_callback(source, &runPosted, posted, &freePosted);
        g_source_attach(source, context.get());
        g_source_unref(source);
    }

    bool take(Runner&) {
        while (g_main_context_iteration(context.get(), FALSE)) {
        }
        return false;
    }

    static gboolean runPosted(gpointer item) {
        Runner::take(*static_cast<const ActionItem*>(item));
        return G_SOURCE_REMOVE;
    }

    static void freePosted(gpointer item) { g_slice_free(ActionItem, static_cast<ActionItem*>(item)); }

    const std::unique_ptr<GMainContext, decltype(&g_main_context_unref)> context{
        isDefault ? nullptr : g_main_context_new(), g_main_context_unref};
};

/// Many wait, or each posts the next while it runs.
template<class Contender, bool isChain>
void run(benchmark::State& state, std::size_t count) {
    Runner runner;
    Actions<Contender, isChain> work(count);
    measure<Contender>(state, work, runner);
}

template<class Contender>
void runAndCountWaiting(benchmark::State& state, std::size_t count) {
    run<Contender, false>(state, count);
    std::deque<Actions<Contender, false>> works;
    works.emplace_back(count);
    countMemory<Contender>(state, works);
}

/// One item of a chain waits at a time: what counts is what the contender keeps of those that ran.
template<class Contender>
void runAndCountChain(benchmark::State& state, std::size_t count) {
    run<Contender, true>(state, count);
    Runner runner;
    Actions<Contender, true> work(count);
    std::size_t after = 0;
    work.bytesAtTheEnd = &after;
    Contender contender;
    runOnFreshHeap([&](std::size_t before) {
        work.postTo(contender);
        while (contender.take(runner)) {
        }
        state.counters["memory"] = static_cast<double>(after - before) / static_cast<double>(count);
    });
}

/// Threads share in posting.
template<class Contender>
void runThreads(benchmark::State& state, std::size_t threads) {
    Runner runner;
    std::deque<Actions<Contender, false>> works;
    for (std::size_t i = 0; i < threads; ++i)
        works.emplace_back(24000 / threads);
    measureThreads<Contender>(state, works, runner);
    countMemory<Contender>(state, works);
}

template<class Contender, class ForChain = Contender>
void addContender(const std::string& name, Group group) {
    addSizes("actions waiting", name, group, run<Contender, false>, {1, 1000, 100000});
    addSizes("chain of actions", name, group, run<ForChain, true>, {10, 1000, 100000});
}

template<class Contender, class ForChain = Contender>
void addGrowth(const std::string& name, Group group) {
    addSizes("growth, actions waiting", name, group, runAndCountWaiting<Contender>,
             {1, 10, 1000, 100000, 1000000});
    addSizes("growth, chain of actions", name, group, runAndCountChain<ForChain>, {10, 1000, 100000});
}

} // namespace

void addAll() {
    using Asio = AsioPost<ActionItem, Runner>;
    addContender<OwnActions<false>, OwnActions<true>>("KXAPI", Group::Ours);
    addContender<DrainedDeque>("mutex and deque", Group::Limit);
    addContender<Asio>("Asio", Group::Peer);
    addContender<GLibActions<true>>("GLib g_idle_add", Group::Peer);
    addContender<GLibActions<false>>("GLib main context", Group::Peer);
    addForEachLoop("Qt postEvent", addContender<QtPostEvent<ActionItem, Runner>>);
    addForEachLoop("Qt invokeMethod", addContender<QtInvokeMethod<ActionItem, Runner>>);
    addGrowth<OwnActions<false>, OwnActions<true>>("KXAPI", Group::Ours);
    addGrowth<DrainedDeque>("mutex and deque", Group::Limit);
    addGrowth<Asio>("Asio", Group::Peer);
    addSizes("growth, chain of actions", "KXAPI, loop detection off", Group::Ours,
             runAndCountChain<OwnActions<false>>, {10, 1000, 100000});
    const auto scenario = "growth, threads posting actions";
    addSizes(scenario, "KXAPI", Group::Ours, runThreads<OwnActions<false>>, {1, 2, 3, 4}, Time::OfClock);
    addSizes(scenario, "mutex and deque", Group::Limit, runThreads<DrainedDeque>, {1, 2, 3, 4}, Time::OfClock);
}

} // namespace Bench

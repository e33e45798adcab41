// Posting and running actions: many that wait, chains in which each posts the next, and several threads that post.
// libuv is no contender: it has no queue of calls.

#include "actions/KXActionQueue.h"
#include "bench/actions/Work.h"
#include "bench/support/Carriers.h"
#include "bench/support/Measurement.h"
#include "bench/support/Scenarios.h"
#include "platform/KXTick.h"

#include <boost/noncopyable.hpp>
#include <glib.h>

namespace Bench {
namespace {

template<bool detectsLoops>
class OwnActions {
public:
    OwnActions() {
        event.eventType = eventTypeOfItems;
    }

    void post(const ActionItem& item) {
        queue.postAction(item.action, &event, item.object);
    }

    bool take(Runner&) {
        queue.executeActions(deadline, detectsLoops);
        return false;
    }

private:
    KX::KXActionQueue queue;
    KX::KXEvent event; // never changes
    const unsigned int deadline = KX::KXTick::getTickCount() + 3600000;
};

/// Idle calls of GLib's default main context, or of a main context of their own.
template<bool isDefault>
class GLibActions : private boost::noncopyable {
public:
    ~GLibActions() {
        if (context)
            g_main_context_unref(context);
    }

    void post(const ActionItem& item) {
        const gpointer posted = g_slice_dup(ActionItem, &item);
        if (isDefault) {
            g_idle_add_full(G_PRIORITY_DEFAULT, &runPosted, posted, &freePosted);
            return;
        }
        GSource* const source = g_idle_source_new();
        g_source_set_callback(source, &runPosted, posted, &freePosted);
        g_source_attach(source, context);
        g_source_unref(source);
    }

    bool take(Runner&) {
        while (g_main_context_iteration(context, FALSE)) {
        }
        return false;
    }

private:
    static gboolean runPosted(gpointer item) {
        Runner::take(*static_cast<const ActionItem*>(item));
        return G_SOURCE_REMOVE;
    }

    static void freePosted(gpointer item) {
        g_slice_free(ActionItem, static_cast<ActionItem*>(item));
    }

    GMainContext* const context = isDefault ? nullptr : g_main_context_new();
};

template<class Contender>
void waiting(benchmark::State& state, std::size_t count, bool isMemoryCounted) {
    Runner runner;
    std::deque<Waiting> works;
    works.emplace_back(count);
    measure<Contender>(state, works.front(), runner);
    if (isMemoryCounted)
        countMemory<Contender>(state, works);
}

/// Each posts the next while it runs.
template<class Contender>
void chain(benchmark::State& state, std::size_t count, bool isMemoryCounted) {
    Runner runner;
    Chain<Contender> work(count);
    measure<Contender>(state, work, runner);
    if (!isMemoryCounted)
        return;
    work.noteHeap();
    Contender contender;
    runOnFreshHeap([&](std::size_t before) {
        work.postTo(contender);
        while (contender.take(runner)) {
        }
        state.counters["memory"] = static_cast<double>(work.getNotedBytes() - before) / static_cast<double>(count);
    });
}

/// Threads share in posting.
template<class Contender>
void posting(benchmark::State& state, std::size_t threads) {
    Runner runner;
    std::deque<Waiting> works;
    for (std::size_t i = 0; i < threads; ++i)
        works.emplace_back(24000 / threads);
    measureThreads<Contender>(state, works, runner);
    countMemory<Contender>(state, works);
}

/// Those that begin with "growth, " count memory, too.
template<class Scenario, class Place = Here>
void addSizes(const std::string& scenario, const std::string& name, Group group, Scenario measureSize,
              std::initializer_list<int> sizes, Place place = Place()) {
    const bool isGrowth = scenario.rfind("growth, ", 0) == 0;
    for (const int size : sizes) {
        const auto run = [=](benchmark::State& state) {
            measureSize(state, static_cast<std::size_t>(size), isGrowth);
        };
        add({scenario, name, group, place(run), size});
    }
}

template<class ForWaiting, class ForChain = ForWaiting, class Place = Here>
void addContender(const std::string& name, Group group, Place place = Place()) {
    addSizes("actions waiting", name, group, waiting<ForWaiting>, {1, 1000, 100000}, place);
    addSizes("chain of actions", name, group, chain<ForChain>, {10, 1000, 100000}, place);
}

template<class ForWaiting, class ForChain = ForWaiting>
void addGrowth(const std::string& name, Group group) {
    addSizes("growth, actions waiting", name, group, waiting<ForWaiting>, {1, 10, 1000, 100000, 1000000});
    addSizes("growth, chain of actions", name, group, chain<ForChain>, {10, 1000, 100000});
}

template<class Contender>
void addPosting(const char* name, Group group) {
    for (const int threads : {1, 2, 3, 4}) {
        const auto run = [threads](auto& state) { posting<Contender>(state, static_cast<std::size_t>(threads)); };
        add({"growth, threads posting actions", name, group, run, threads, Time::OfClock});
    }
}

} // namespace

void addAll() {
    using Deque = LockedDeque<ActionItem>;
    using Asio = AsioPost<ActionItem, Runner>;
    using PostEvent = QtPostEvent<ActionItem, Runner>;
    using InvokeMethod = QtInvokeMethod<ActionItem, Runner>;
    addContender<OwnActions<false>, OwnActions<true>>("KXAPI", Group::Ours);
    addContender<Deque>("mutex and deque", Group::Limit);
    addContender<Asio>("Asio", Group::Peer);
    addContender<GLibActions<true>>("GLib g_idle_add", Group::Peer);
    addContender<GLibActions<false>>("GLib main context", Group::Peer);
    addForEachLoop("Qt postEvent", addContender<PostEvent, PostEvent, OnQtThread>);
    addForEachLoop("Qt invokeMethod", addContender<InvokeMethod, InvokeMethod, OnQtThread>);
    addGrowth<OwnActions<false>, OwnActions<true>>("KXAPI", Group::Ours);
    addGrowth<Deque>("mutex and deque", Group::Limit);
    addGrowth<Asio>("Asio", Group::Peer);
    addSizes("growth, chain of actions", "KXAPI, loop detection off", Group::Ours, chain<OwnActions<false>>,
             {10, 1000, 100000});
    addPosting<OwnActions<false>>("KXAPI", Group::Ours);
    addPosting<Deque>("mutex and deque", Group::Limit);
}

} // namespace Bench

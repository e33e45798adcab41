#pragma once

#include "ActionPlayer.h"
#include "ActionQueueModel.h"
#include "ScopedStream.h"
#include "actions/KXActionQueue.h"
#include "events/KXEvent.h"
#include "events/KXEventType.h"
#include "platform/KXAction.h"
#include "platform/KXThread.h"
#include "platform/KXTick.h"
#include "platform/simulated/KXSimulation.h"

#include <iostream>
#include <thread>

namespace KX::test {

constexpr int failed = -1; // the status after an exception

/// A status, or the exception of an action.
inline int statusOf(const std::function<int()>& call) {
    try {
        return call();
    } catch (const ActionFailed&) {
        return failed;
    }
}

/// The addresses of a run: the same actions and objects serve the queue and the model.
class ScriptedAction : public KXAction {
public:
    bool isReady() override { return player->isReady(number); }

    void execute(void* argument) override {
        if (argument != nullptr)
            player->trace += " (with an argument)";
        player->execute(number, triggeringEventType);
    }

    ActionPlayer* player = nullptr;
    int number = 0;
};

/// What the programs have met.
struct ActionAccount {
    unsigned int programs = 0, refusals = 0, deadlines = 0, failures = 0, foreignPosts = 0, foreignDrains = 0,
                 leftBehind = 0, resumed = 0;
};

/// Plays one program on both sides, call by call.
class ProgramRun {
public:
    ProgramRun(const ActionProgram& theProgram, ActionAccount& theAccount)
        : program(theProgram), account(theAccount), driverId(KXThread::getCurrentThreadID()),
          queue(KXActionQueue::create()), model(surroundings()) {
        KXSimulation::setTick(program.startTick);
        for (int i = 0; i < ActionProgram::actionCount; ++i) {
            actions[static_cast<std::size_t>(i)].player = &realPlayer;
            actions[static_cast<std::size_t>(i)].number = i;
        }
    }

    ~ProgramRun() { KXActionQueue::release(); }

    ProgramRun(const ProgramRun&) = delete;
    ProgramRun& operator=(const ProgramRun&) = delete;

    /// Empty when library and model agree.
    std::string play() {
        std::string complaints;
        for (std::size_t i = 0; i < program.drains.size() && complaints.empty(); ++i) {
            const ActionProgram::Drain& drain = program.drains[i];
            for (const auto& post : drain.postsBefore) {
                realPlayer.postWithinLimit(post);
                modelPlayer.postWithinLimit(post);
                complaints += differences("post before drain " + std::to_string(i));
            }
            if (complaints.empty())
                complaints = playDrain(drain, "drain " + std::to_string(i));
        }
        return complaints.empty() ? release() : complaints;
    }

private:
    ActionQueueModel::Surroundings surroundings() {
        ActionQueueModel::Surroundings around;
        around.isReady = [this](const void* action) { return modelPlayer.isReady(numberOf(action)); };
        around.execute = [this](const void* action) {
            const int number = numberOf(action);
            modelPlayer.execute(number, modelTypes[static_cast<std::size_t>(number)]);
        };
        around.tellTriggeringType = [this](const void* action, int type) {
            modelTypes[static_cast<std::size_t>(numberOf(action))] = type;
        };
        around.nameOfType = [](int type) { return translateEventTypeToString(type); };
        around.now = [this] { return modelTick; };
        around.executingThreadId = driverId;
        return around;
    }

    int numberOf(const void* address) const {
        int number = 0;
        while (actionAt(number) != address)
            ++number;
        return number;
    }

    const void* actionAt(int number) const {
        return static_cast<const KXAction*>(&actions[static_cast<std::size_t>(number)]);
    }

    void* objectAt(int number) {
        return number == ActionProgram::nobody ? nullptr : &objects[static_cast<std::size_t>(number)];
    }

    void postReally(const ActionProgram::Post& post) {
        KXEvent event;
        if (post.event != ActionProgram::nobody)
            event.eventType = program.eventTypes[static_cast<std::size_t>(post.event)];
        KXAction* action =
            post.action == ActionProgram::nobody ? nullptr : &actions[static_cast<std::size_t>(post.action)];
        const auto doIt = [&] {
            queue->postAction(action, post.event == ActionProgram::nobody ? nullptr : &event,
                              objectAt(post.object));
            posters.push_back(KXThread::getCurrentThreadID());
        };
        if (post.isForeign)
            std::thread(doIt).join();
        else
            doIt();
    }

    // The platform numbers the threads; the model takes the numbers from the queue's side.
    void postToModel(const ActionProgram::Post& post) {
        if (posters.empty())
            return; // the queue's side differs; its trace shows that
        const unsigned int poster = posters.front();
        posters.pop_front();
        const int* type = post.event == ActionProgram::nobody
                              ? nullptr
                              : &program.eventTypes[static_cast<std::size_t>(post.event)];
        model.post(post.action == ActionProgram::nobody ? nullptr : actionAt(post.action), type,
                   objectAt(post.object), poster);
    }

    std::string playDrain(const ActionProgram::Drain& drain, const std::string& where) {
        const unsigned int begin = modelTick + drain.passingMs;
        modelTick = begin;
        KXSimulation::setTick(begin);
        const unsigned int deadline = drain.deadlineMs == std::numeric_limits<int>::max()
                                          ? 0xFFFFFFFFU
                                          : begin + static_cast<unsigned int>(drain.deadlineMs);
        count(drain);
        const int actual = drainReally(drain, deadline);
        const int expected = statusOf([&] { return model.execute(deadline, drain.detectLoops); });
        account.deadlines += expected == 46;
        account.failures += expected == failed;
        return (actual == expected ? std::string()
                                   : "\n  " + where + " gave " + std::to_string(actual) + ", expected " +
                                         std::to_string(expected)) +
               differences(where);
    }

    void count(const ActionProgram::Drain& drain) {
        account.foreignDrains += drain.isForeign && !model.pending.empty();
        account.resumed += drain.detectLoops && !model.pending.empty() && model.executedCount > 0;
    }

    int drainReally(const ActionProgram::Drain& drain, unsigned int deadline) {
        int status = failed;
        const auto doIt = [&] {
            status = statusOf([&] { return queue->executeActions(deadline, drain.detectLoops); });
        };
        if (drain.isForeign)
            std::thread(doIt).join();
        else
            doIt();
        return status;
    }

    /// The end drops queued items without running them.
    std::string release() {
        account.refusals += model.refusals;
        account.foreignPosts += modelPlayer.foreignPosts;
        account.leftBehind += !model.pending.empty();
        ++account.programs;
        KXActionQueue::release();
        return told("calls after the release", realPlayer.trace, modelPlayer.trace) +
               told<std::string>("output of the release", output.take(), "");
    }

    static ItemModel plain(const KXActionQueue::actionItem& item) {
        return {item.action,   item.triggeringAction, item.eventType,
                item.userData, item.executedCount,    item.threadID};
    }

    template<class Items, class Models>
    static std::string differencesOf(const char* what, const Items& actual, const Models& expected) {
        const auto isSame = [](const KXActionQueue::actionItem& item, const ItemModel& itemModel) {
            return plain(item).identity() == itemModel.identity() &&
                   item.executedCount == itemModel.executedCount && item.threadID == itemModel.threadId;
        };
        if (std::equal(actual.begin(), actual.end(), expected.begin(), expected.end(), isSame))
            return "";
        std::string complaint = std::string("\n  ") + what + " expected";
        for (const auto& item : expected)
            complaint += "\n    " + item.told();
        complaint += "\n  actual";
        for (const auto& item : actual)
            complaint += "\n    " + plain(item).told();
        return complaint;
    }

    template<class Value>
    static std::string told(const char* what, const Value& actual, const Value& expected) {
        if (actual == expected)
            return "";
        std::ostringstream out;
        out << "\n  " << what << " expected '" << expected << "'\n  actual '" << actual << "'";
        return out.str();
    }

    // One thread alone posts and drains.
    std::string differences(const std::string& where) KX_NO_THREAD_SAFETY_ANALYSIS {
        std::string complaints =
            told<std::string>("calls", realPlayer.trace, modelPlayer.trace) +
            told<std::string>("output", output.take(), model.takeOutput()) +
            told("tick", KXTick::getTickCount(), modelTick) +
            told("executedCount", queue->executedCount.load(), model.executedCount) +
            told<const void*>("currentAction", queue->currentAction.load(), model.current) +
            told<const void*>("generationTrigger", queue->generationTrigger, model.generationTrigger) +
            differencesOf("pendingItems", queue->pendingItems, model.pending) +
            differencesOf("executedBefore", queue->executedBefore, model.executedBefore) +
            differencesOf("executedNow", queue->executedNow, model.executedNow);
        for (std::size_t i = 0; i < actions.size(); ++i)
            complaints += told("triggeringEventType", actions[i].triggeringEventType, modelTypes[i]);
        return complaints.empty() ? complaints : "\n  after " + where + ":" + complaints;
    }

    const ActionProgram& program;
    ActionAccount& account;
    unsigned int driverId;
    ScopedStream output{std::cout};
    KXActionQueue* queue;
    ActionQueueModel model;
    std::array<ScriptedAction, ActionProgram::actionCount> actions;
    std::array<int, ActionProgram::actionCount> modelTypes{};
    std::array<int, ActionProgram::objectCount> objects{};
    std::deque<unsigned int> posters; // of posts that the model has not seen yet
    unsigned int modelTick = program.startTick;
    ActionPlayer realPlayer{program, [this](const auto& post) { postReally(post); },
                            [](unsigned int ms) { KXSimulation::setTick(KXTick::getTickCount() + ms); }};
    ActionPlayer modelPlayer{program, [this](const auto& post) { postToModel(post); },
                             [this](unsigned int ms) { modelTick += ms; }};
};

/// The first thread that drains counts until the process ends; here it is the driver.
inline void beTheExecutingThread() {
    KXActionQueue().executeActions(0, false);
}

} // namespace KX::test

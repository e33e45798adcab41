#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace KX::test {

/// One request in the model. Addresses identify actions and objects; loop lines and the history's order show them.
struct ItemModel {
    const void* action = nullptr;
    const void* trigger = nullptr;
    int eventType = 0;
    const void* object = nullptr;
    unsigned int executedCount = 0;
    unsigned int threadId = 0;

    /// The order of items compares it.
    auto identity() const {
        const auto address = [](const void* pointer) { return reinterpret_cast<std::uintptr_t>(pointer); };
        return std::make_tuple(address(action), address(trigger), static_cast<std::uint32_t>(eventType),
                               address(object));
    }

    std::string told() const {
        std::ostringstream out;
        out << action << " by " << trigger << " on " << eventType << " for " << object << " at " << executedCount
            << " from thread " << threadId;
        return out.str();
    }
};

/// The action queue on one thread. Its history is plain lists with linear search.
class ActionQueueModel {
public:
    /// The actions, names of event types and clock that the model uses.
    struct Surroundings {
        std::function<bool(const void* action)> isReady;
        std::function<void(const void* action)> execute;
        std::function<void(const void* action, int eventType)> tellTriggeringType;
        std::function<std::string(int eventType)> nameOfType;
        std::function<unsigned int()> now;
        unsigned int executingThreadId;
    };

    explicit ActionQueueModel(Surroundings itsSurroundings) : around(std::move(itsSurroundings)) {}

    void post(const void* action, const int* eventType, const void* object, unsigned int threadId) {
        if (action == nullptr) {
            output += "KXActionQueue::postAction(nullptr): Ignored.\n";
            return;
        }
        const int type = eventType == nullptr ? 0 : *eventType;
        around.tellTriggeringType(action, type);
        pending.push_back({action, current, type, object, executedCount, threadId});
    }

    int execute(unsigned int deadline, bool detectLoops) {
        int whenEmpty = 23;
        while (!pending.empty()) {
            whenEmpty = 0;
            const ItemModel item = pending.front();
            pending.pop_front();
            handle(item, detectLoops);
            if (around.now() > deadline)
                return 46;
        }
        executedBefore.clear();
        executedNow.clear();
        current = nullptr;
        generationTrigger = nullptr;
        executedCount = 0;
        return whenEmpty;
    }

    std::string takeOutput() { return std::exchange(output, ""); }

    std::deque<ItemModel> pending;
    std::vector<ItemModel> executedBefore; // both in the order of identity()
    std::vector<ItemModel> executedNow;
    const void* current = nullptr;
    const void* generationTrigger = nullptr;
    unsigned int executedCount = 0;
    unsigned int refusals = 0;

private:
    void handle(const ItemModel& item, bool detectLoops) {
        if (!around.isReady(item.action))
            return;
        if (!detectLoops) {
            around.execute(item.action);
            return;
        }
        if (item.executedCount != executedCount) {
            for (const ItemModel& executed : executedNow)
                insert(executedBefore, executed);
            executedNow.clear();
            generationTrigger = item.trigger;
        }
        if (isLoop(item))
            refuse(item);
        else
            executeRecorded(item);
    }

    bool isLoop(const ItemModel& item) const {
        for (const ItemModel& earlier : executedBefore)
            if (earlier.identity() == item.identity())
                return earlier.eventType != 0 && earlier.object != nullptr &&
                       earlier.executedCount < item.executedCount && earlier.threadId == around.executingThreadId;
        return false;
    }

    void refuse(const ItemModel& item) {
        std::ostringstream line;
        line << "KXActionQueue::executeActions: Found loop for " << item.action << ", triggered by object "
             << item.object << ", on event '" << around.nameOfType(item.eventType) << " [" << item.eventType
             << "] via action " << item.trigger << " (" << item.executedCount << "). Terminating execution.\n";
        output += line.str();
        ++refusals;
    }

    void executeRecorded(const ItemModel& item) {
        current = item.action;
        try {
            around.execute(item.action);
        } catch (...) {
            current = nullptr; // the failed action triggers no later post
            throw;
        }
        ++executedCount;
        current = nullptr;
        insert(executedNow, item);
    }

    // The first of two equal items stays.
    static void insert(std::vector<ItemModel>& items, const ItemModel& item) {
        auto place = items.begin();
        while (place != items.end() && place->identity() < item.identity())
            ++place;
        if (place == items.end() || place->identity() != item.identity())
            items.insert(place, item);
    }

    Surroundings around;
    std::string output;
};

} // namespace KX::test

#pragma once

#include "actions/KXActionQueue.h"
#include "events/KXEvent.h"
#include "events/KXEventType.h"
#include "platform/KXStatus.h"
#include "platform/KXTick.h"
#include "tests/soak/Load.h"

#include <array>
#include <cstddef>
#include <thread>

namespace KX::test {

/// Two threads post actions in turn, and a third one executes them.
class ActionLoad : public Load {
public:
    ActionLoad() : Load("actions"), queue(KXActionQueue::create()) {}

    ~ActionLoad() override { KXActionQueue::release(); }

    void start() override {
        for (Poster& poster : posters)
            poster.thread = std::thread([this, &poster] { post(poster); });
        executor = std::thread([this] { execute(); });
    }

    void stop() override {
        isStopping = true;
        for (Poster& poster : posters)
            poster.thread.join();
        haveAllPosted = true;
        executor.join();
    }

private:
    // A drain remembers each action until the queue runs empty, which full load does not let it do.
    static constexpr std::size_t actionCount = 1000;
    static constexpr std::size_t mostPending = 1000;
    static constexpr unsigned int drainMs = 4;

    struct Poster;

    /// Expects to be executed in its turn.
    struct TurnAction : KXAction {
        bool isReady() override { return true; }

        void execute(void* /*argument*/) override {
            ++load->taken;
            if (this != &poster->actions[poster->next])
                ++load->wrong;
            poster->next = static_cast<std::size_t>(this - poster->actions.data() + 1) % actionCount;
        }

        ActionLoad* load = nullptr;
        Poster* poster = nullptr;
    };

    struct Poster {
        std::array<TurnAction, actionCount> actions;
        std::size_t next = 0; ///< to be executed
        std::thread thread;
    };

    void post(Poster& poster) {
        KXEvent event;
        event.eventType = KEY_PRESS_EVENT;
        for (TurnAction& action : poster.actions) {
            action.load = this;
            action.poster = &poster;
        }
        for (std::size_t turn = 0; !isStopping; turn = (turn + 1) % actionCount) {
            while (queue->pendingItems.size() >= mostPending)
                std::this_thread::yield();
            queue->postAction(&poster.actions[turn], &event, &poster);
            ++given;
        }
    }

    void execute() {
        while (!haveAllPosted || !queue->pendingItems.empty())
            if (queue->executeActions(KXTick::getTickCount() + drainMs, true) == STATUS_QUEUE_EMPTY)
                std::this_thread::yield();
    }

    KXActionQueue* queue;
    std::array<Poster, 2> posters;
    std::thread executor;
    std::atomic<bool> isStopping{false};
    std::atomic<bool> haveAllPosted{false};
};

} // namespace KX::test

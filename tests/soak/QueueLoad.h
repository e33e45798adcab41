#pragma once

#include "events/KXEvent.h"
#include "events/KXEventQueue.h"
#include "events/KXEventType.h"
#include "tests/soak/Load.h"

#include <array>
#include <memory>
#include <thread>
#include <vector>

namespace KX::test {

/// Two threads post numbered events to a queue, and a third one takes them.
class QueueLoad : public Load {
public:
    QueueLoad(const std::string& newName, int type) : Load(newName), queue(KXEventQueue::create(type)) {}

    void start() override {
        for (unsigned int poster = 0; poster < posterCount; ++poster)
            posters.emplace_back([this, poster] { post(poster); });
        taker = std::thread([this] { take(); });
    }

    void stop() override {
        isStopping = true;
        for (std::thread& poster : posters)
            poster.join();
        haveAllPosted = true;
        taker.join();
    }

private:
    static constexpr unsigned int posterCount = 2;
    static constexpr unsigned int mostPending = 300; // a pipe holds more

    void post(unsigned int poster) {
        KXInputEvent event;
        event.eventType = KEY_PRESS_EVENT;
        event.eventData[0] = poster;
        for (std::uint32_t number = 0; !isStopping; ++number) {
            while (queue->getSize() >= mostPending)
                std::this_thread::yield();
            event.timeStamp = number;
            queue->postEvent(event);
            ++given;
        }
    }

    void take() {
        while (!haveAllPosted || !queue->isEmpty())
            if (queue->isEmpty())
                std::this_thread::yield();
            else
                check(queue->getNextEvent());
    }

    void check(const KXSomeEvent& event) {
        ++taken;
        const unsigned int poster = event.eventData[0];
        if (event.eventType != KEY_PRESS_EVENT || poster >= posterCount || event.timeStamp != next[poster])
            ++wrong;
        if (poster < posterCount)
            next[poster] = event.timeStamp + 1;
    }

    std::unique_ptr<KXEventQueue> queue;
    std::vector<std::thread> posters;
    std::thread taker;
    std::array<unsigned int, posterCount> next{};
    std::atomic<bool> isStopping{false};
    std::atomic<bool> haveAllPosted{false};
};

} // namespace KX::test

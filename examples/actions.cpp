// Actions that run on events: later, in order, within a time budget. Two that trigger each other are stopped.

#include "actions/KXActionQueue.h"
#include "events/KXEventType.h"
#include "platform/KXStatus.h"
#include "platform/KXTick.h"

#include <cstdio>

namespace {

constexpr unsigned int budgetMs = 4;

// An implement that can be lifted. A change asks for the next action.
class Implement {
public:
    // Prints what it does, and posts what follows from it on the same event.
    class Step : public KX::KXAction {
    public:
        Step(const char* words, Implement& implement) : text(words), owner(implement) {}

        bool isReady() override { return true; }

        void execute(void* /*argument*/) override {
            std::printf("%s\n", text);
            KX::KXEvent event;
            event.eventType = triggeringEventType;
            if (next)
                KX::KXActionQueue::instance()->postAction(next, &event, &owner);
        }

        Step* next = nullptr;

    private:
        const char* const text;
        Implement& owner;
    };

    Step lift{"lift", *this};
    Step lock{"lock", *this};
};

} // namespace

int main() {
    KX::KXActionQueue* const queue = KX::KXActionQueue::create();
    Implement implement;
    implement.lift.next = &implement.lock;

    KX::KXEvent press;
    press.eventType = KX::KEY_PRESS_EVENT;
    queue->postAction(&implement.lift, &press, &implement);
    // The main loop calls this in each turn. What the budget does not allow for stays for the next one.
    while (queue->executeActions(KX::KXTick::getTickCount() + budgetMs, true) == KX::STATUS_DEADLINE_PASSED) {
    }

    // Each triggers the other: the queue reports the loop on standard output and drops it.
    implement.lock.next = &implement.lift;
    queue->postAction(&implement.lift, &press, &implement);
    while (queue->executeActions(KX::KXTick::getTickCount() + budgetMs, true) == KX::STATUS_DEADLINE_PASSED) {
    }
    KX::KXActionQueue::release();
}

#include "CapturedOutput.h"
#include "QueueHook.h"
#include "events/KXEventQueueAsQueue.h"
#include "platform/simulated/KXSimulation.h"

#include <deque>
#include <gtest/gtest.h>

namespace KX::test {
namespace {

/// An in-process queue: a list of holders.
struct QueueModel {
    std::deque<Fields> holders;
    QueueHook::Kind hook = QueueHook::none;

    PostResult post(const PlainEvent& event) {
        PostResult result;
        const auto holder = holderOf(event, result.said);
        result.isMismatch = !holder;
        if (!holder)
            return result;
        holders.push_back(*holder);
        if (hook != QueueHook::none)
            result.sizesSeen.push_back(static_cast<unsigned int>(holders.size()));
        if (hook == QueueHook::takes)
            result.taken.push_back(take());
        return result;
    }

    Fields take() {
        if (holders.empty())
            return emptyHolder();
        const Fields holder = holders.front();
        holders.pop_front();
        return holder;
    }
};

class QueueRun {
public:
    explicit QueueRun(std::uint32_t seed) : random(seed) {
        makeQueue();
        KXSimulation::takeDebugMessages();
    }

    /// Empty when library and model agree.
    std::string step(std::string& operation) {
        if (random.oneIn(400)) // some hundreds of events pile up, then the queue is often empty
            isFilling = !isFilling;
        if (random.oneIn(5000))
            return operation = "new queue", makeQueue(), state();
        if (random.oneIn(50))
            return operation = "set hook",
                   setHook(random.oneOf({QueueHook::none, QueueHook::looks, QueueHook::takes})), state();
        const bool isPost = random.below(10) < (isFilling ? 6U : 4U);
        operation = isPost ? "post" : "take";
        return (isPost ? post() : take()) + state();
    }

    std::size_t longest = 0;

private:
    void makeQueue() {
        queue.reset(KXEventQueue::create(KXEventQueue::EVENT_QUEUE_AS_QUEUE));
        model = QueueModel();
    }

    void setHook(QueueHook::Kind kind) {
        QueueHook::set(queue.get(), kind);
        model.hook = kind;
    }

    std::string post() {
        const PlainEvent event = randomEvent(random);
        const PostResult expected = model.post(event);
        const PostResult actual = postForReal(*queue, event, random, !expected.said.empty(), error);
        std::string complaint = actual.differsFrom(expected);
        const auto messages = KXSimulation::takeDebugMessages();
        if (messages.size() != 1)
            complaint += "\n  debug messages: " + std::to_string(messages.size()) + " instead of the trace alone";
        else if (messages[0].level != 4 || messages[0].section != "kx_event_queue" ||
                 messages[0].text != traceOf(event.fields))
            complaint += "\n  trace expected '" + traceOf(event.fields) + "'\n  actual '" + messages[0].text + "'";
        return complaint;
    }

    std::string take() {
        const Fields expected = model.take();
        const KXSomeEvent taken = queue->getNextEvent();
        return differs(taken, expected) +
               (KXSimulation::takeDebugMessages().empty() ? "" : "\n  a take wrote a debug message");
    }

    std::string state() {
        longest = std::max(longest, model.holders.size());
        if (queue->getSize() != model.holders.size())
            return "\n  size " + std::to_string(queue->getSize()) + " instead of " +
                   std::to_string(model.holders.size());
        return queue->isEmpty() == model.holders.empty() ? "" : "\n  isEmpty is wrong";
    }

    Random random;
    CapturedOutput error{STDERR_FILENO};
    QueueModel model;
    std::unique_ptr<KXEventQueue> queue;
    bool isFilling = true;
};

TEST(InProcessQueueModel, agreesWithARowOfHoldersAfterEachOfManyRandomSteps) {
    std::size_t longest = 0;
    for (const std::uint32_t seed : seedsOfRun()) {
        QueueRun run(seed);
        std::string operation;
        for (std::uint32_t step = 0; step < stepsOfSeed(); ++step) {
            const std::string complaint = run.step(operation);
            ASSERT_TRUE(complaint.empty()) << whereabouts(seed, step, operation) << complaint;
        }
        longest = std::max(longest, run.longest);
    }
    if (isFullRun())
        EXPECT_GT(longest, 64U) << "the run never filled more than one block of the store";
}

} // namespace
} // namespace KX::test

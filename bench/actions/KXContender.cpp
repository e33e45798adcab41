#include "Scenarios.h"
#include "actions/KXActionQueue.h"
#include "events/KXEvent.h"
#include "platform/KXTick.h"

namespace Bench {
namespace {

/// The action queue of the library, which looks for loops in a chain.
class KXContender {
public:
    explicit KXContender(bool isChain) : detectsLoops(isChain) {}

    void post(const Item& item) {
        event.eventType = static_cast<int>(item.eventType);
        queue.postAction(item.action, &event, item.object);
    }

    void runAll() {
        queue.executeActions(deadline, detectsLoops);
    }

private:
    KX::KXActionQueue queue;
    KX::KXEvent event;
    const unsigned int deadline = KX::KXTick::getTickCount() + 3600000;
    const bool detectsLoops;
};

const bool isAdded = addContender<KXContender>("KXAPI");

} // namespace
} // namespace Bench

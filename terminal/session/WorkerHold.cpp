#include "terminal/session/WorkerHold.h"

#include <chrono>

namespace Terminal {

void WorkerHold::keep() {
    std::unique_lock<std::mutex> guard(lock);
    isWanted = true;
    changed.wait_for(guard, std::chrono::seconds(1), [this] { return isKept; });
}

void WorkerHold::release() {
    const std::lock_guard<std::mutex> guard(lock);
    isWanted = false;
    changed.notify_all();
}

void WorkerHold::onPassDue() {
    std::unique_lock<std::mutex> guard(lock);
    isKept = isWanted;
    changed.notify_all();
    changed.wait(guard, [this] { return !isWanted; });
    isKept = false;
}

} // namespace Terminal

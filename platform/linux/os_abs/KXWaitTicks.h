#pragma once

namespace KX {

class KXWaitObserver;

/// Tells the observer of a wait, if there is one, that it has begun, and, when it is over, that it has ended.
class KXWatchedWait {
public:
    KXWatchedWait();
    ~KXWatchedWait();

    KXWatchedWait(const KXWatchedWait&) = delete;
    KXWatchedWait& operator=(const KXWatchedWait&) = delete;

private:
    KXWaitObserver* const observer;
};

/// Each thread's own: who is to hear of the next tick for which it asks; null when none is awaited. Looked at with
/// every tick, so it has a place among what every thread is born with, which is found without a call.
extern __thread KXWaitObserver* observerOfNextTick __attribute__((tls_model("initial-exec")));

void tellAwaitedTick(unsigned int tick);

/// Tells the observer of the calling thread's wait, if there is one, of a tick that the thread asked for.
inline void tellTickAsked(unsigned int tick) {
    if (observerOfNextTick != nullptr)
        tellAwaitedTick(tick);
}

} // namespace KX

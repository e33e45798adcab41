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

/// Tells the observer of the calling thread's wait, if there is one, of a tick that the thread asked for.
void tellTickAsked(unsigned int tick);

} // namespace KX

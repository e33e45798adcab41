#pragma once

#include <condition_variable>
#include <mutex>

namespace Terminal {

/// Lets either the worker of the input event manager make a pass or the toolkit's thread deliver input, never both
/// at once, so that what each of them notes stands in the order in which the library got it.
///
/// The worker enters before it takes any lock of the library, so holding the gate while the library is called
/// blocks nobody for ever.
class InputGate {
public:
    /// The worker's: waits while the gate is held.
    void beginPass();
    void endPass();

    /// Keeps the gate from the moment when no pass goes on, for as long as it lives. The toolkit's thread, which may
    /// hold it several times.
    class Hold {
    public:
        explicit Hold(InputGate& heldGate);
        ~Hold();

        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        InputGate& gate;
    };

private:
    void enter(std::unique_lock<std::mutex>& guard);
    void leave();

    std::mutex lock;
    // All guarded by lock. Who comes first enters first, so that neither side can keep the other out for ever.
    unsigned int nextNumber = 0;
    unsigned int servedNumber = 0;
    int holds = 0;
    bool passGoesOn = false;
    std::condition_variable changed;
};

} // namespace Terminal

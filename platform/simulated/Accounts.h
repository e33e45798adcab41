#pragma once

#include <atomic>

namespace KX {

/// How many of the next calls of one kind are to fail. Any thread.
class Fault {
public:
    void set(unsigned int count) {
        left = count;
    }

    /// Whether this call is to fail; counts it when it is.
    bool take() {
        unsigned int present = left;
        while (present != 0 && !left.compare_exchange_weak(present, present - 1)) {
        }
        return present != 0;
    }

private:
    std::atomic<unsigned int> left{0};
};

// Constant-initialised and without destructors that do anything, so they serve static objects of other
// libraries too.
struct Faults {
    Fault pipeInits;
    Fault pipeWrites;
    Fault pipeReads;
    Fault mutexLocks;
    Fault mutexes;
    Fault threads;
    Fault canBuses;
};

/// How many objects of each kind exist.
struct LivingObjects {
    std::atomic<unsigned int> threads{0};
    std::atomic<unsigned int> mutexes{0};
    std::atomic<unsigned int> openPipes{0};
    std::atomic<unsigned int> endPointManagers{0};
    std::atomic<unsigned int> canEndPoints{0};
};

extern Faults faults;
extern LivingObjects livingObjects;

inline constexpr int defaultPipeCapacity = 1 << 20;
extern std::atomic<int> pipeCapacity;

/// A number for an end point that is open: no other has it, and it is no file descriptor, so that a program
/// which waits for it in the real system is told so instead of waiting for something else.
int newEndPointId();
void resetEndPointIds();

} // namespace KX

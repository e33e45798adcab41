#pragma once

#include <atomic>

namespace KX {

/// Number of calls of one kind that fail next. Any thread.
class Fault {
public:
    void set(unsigned int count) { left = count; }

    /// Whether this call fails. If so, one less is left.
    bool take() {
        unsigned int present = left;
        while (present != 0 && !left.compare_exchange_weak(present, present - 1)) {
        }
        return present != 0;
    }

private:
    std::atomic<unsigned int> left{0};
};

// Constant-initialised and trivially destroyed, so static objects of other libraries may use them.
struct Faults {
    Fault pipeInits;
    Fault pipeWrites;
    Fault pipeReads;
    Fault mutexLocks;
    Fault mutexes;
    Fault threads;
    Fault canBuses;
};

/// Number of objects of each kind that exist.
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

/// A unique number for an open end point. It is no file descriptor: a program that waits for it in the real system
/// gets an error instead of waiting on another file.
int newEndPointId();
void resetEndPointIds();

} // namespace KX

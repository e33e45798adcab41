#pragma once

#include "tests/faults/Fault.h"

namespace KX::test {

/// One operation of the library and what it promises when memory or the system fails it.
///
/// A static object of this class is two tests: without memory, and with failing calls of the system. Each runs the body
/// again and again. In each run another allocation or call fails, until the operation makes no further one. Each
/// run must also leave as many descriptors open and blocks allocated as there were before.
class Operation {
public:
    /// Prepares the operation, runs it by one of the functions of \p fault, and checks the promise.
    using Body = void (*)(Fault& fault);

    /// What is different about an operation. These can be combined.
    enum Exceptions : unsigned int {
        None = 0,
        LeavesMemory = 1,      ///< on purpose: its header says so
        LeavesBus = 2,         ///< the same; the body checks the descriptors
        FailsPlainMutexes = 4, ///< see Fault::failsPlainMutexes
        NeedsSomeMemory = 8    ///< only single allocations fail: its simulated worker cannot wait without memory
    };

    /// \param suite    class or header, as a name of GoogleTest
    /// \param name     operation and situation
    /// \param promise  what holds after a failure, in words
    Operation(const char* suite, const char* name, const char* promise, Body body, unsigned int exceptions = None);

    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    void runWithoutMemory() const;
    void runWithFailingCalls() const;

private:
    void failEachAllocation(Fault::Kind kind) const;
    void warmUp() const;
    bool run(Fault& fault) const;
    bool runBody(Fault& fault) const;
    bool isWell(const Fault& fault) const;

    const char* const operation;
    const char* const promised;
    const Body body;
    const unsigned int exceptions;
};

} // namespace KX::test

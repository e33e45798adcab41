#pragma once

#include <atomic>
#include <cstddef>
#include <new>
#include <string>

namespace KX::test {

/// A call of the system and the errors that it can give.
struct SystemCall {
    const char* name;
    const int* errors;
    std::size_t errorCount;
};

/// The one thing that fails in a run of an operation.
///
/// It counts what the project's libraries, and the C++ library for them, allocate and ask the system for while the
/// operation runs. The toolkit's own allocations and calls do not count: it promises nothing about their failure.
class Fault {
public:
    enum class Kind {
        Nothing,
        OneAllocation,
        AllAllocations, ///< from one on
        SystemCall
    };

    /// \param countedNumber  which allocation or call fails, from 1
    /// \param errorIndex     which of the errors the call gives
    explicit Fault(Kind faultKind, unsigned int countedNumber = 0, std::size_t errorIndex = 0);
    ~Fault();

    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

    /// Runs the operation on this thread, which meets the fault.
    template<class Call>
    auto during(Call call) {
        const Watch watch(*this, Watch::ThisThread);
        return call();
    }

    /// As \ref during. \return whether it returned; otherwise it threw std::bad_alloc, as only an allocation may
    template<class Call>
    bool completes(Call call) {
        try {
            during(call);
            return true;
        } catch (const std::bad_alloc&) {
            if (!isOfMemory())
                throw;
            return false;
        }
    }

    /// Runs \p call, while other threads meet the fault: the worker.
    template<class Call>
    void duringOthers(Call call) {
        const Watch watch(*this, Watch::OtherThreads);
        call();
    }

    bool hasHappened() const { return happened; }

    bool isOfMemory() const { return kind == Kind::OneAllocation || kind == Kind::AllAllocations; }

    /// Whether this call of the system failed.
    bool isOf(const char* call) const;

    /// Whether the call of this number has no error of this index.
    bool hasNoSuchError() const { return isBeyondErrors; }

    /// Of what was counted.
    unsigned int getCount() const { return count; }

    /// Lines on standard error since this object was made.
    std::string getLines() const;

    /// For messages.
    std::string describe() const;

    /// Also mutexes that cannot fail while they are used correctly: those of the queues, whose failure is specified.
    bool failsPlainMutexes = false;

private:
    friend class FaultAccess;

    /// Makes the fault happen to some threads, for a scope.
    class Watch {
    public:
        enum Threads { ThisThread, OtherThreads };

        Watch(Fault& fault, Threads threads);
        ~Watch();

        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;
    };

    bool failsNextAllocation();
    int nextError(const SystemCall& call);

    const Kind kind;
    const unsigned int number;
    const std::size_t index;
    std::atomic<unsigned int> count{0};
    std::atomic<bool> happened{false};
    std::atomic<bool> isBeyondErrors{false};
    std::atomic<const char*> failedCall{nullptr};
    std::atomic<int> givenError{0};
    const long linesBegin;
};

/// For the replaced functions of the system.
class FaultAccess {
public:
    /// \return the error that \p call is to give; 0: it is to be made
    static int errorFor(const SystemCall& call, const void* caller);

    /// Whether mutexes fail now that cannot fail.
    static bool failsPlainMutexes();
};

} // namespace KX::test

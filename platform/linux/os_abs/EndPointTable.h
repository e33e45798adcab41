#pragma once

#include "platform/KXLocks.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory_resource>
#include <sys/epoll.h>
#include <thread>
#include <vector>

namespace KX {

class KXEndPoint;
class KXEndPointHandler;

/// The end points of one manager, the epoll set that watches them, and which thread uses which of them.
///
/// Any thread may call. The table calls no function of an end point or a handler, so no code of the application
/// runs while the lock is held.
class EndPointTable {
public:
    /// Identifies one registration. No number is used twice: an event of an earlier registration is never taken
    /// for one of a later, even if the end point or its descriptor is the same.
    using Number = std::uint32_t;

    struct Registration {
        KXEndPoint* endPoint = nullptr;
        KXEndPointHandler* handler = nullptr;
        int descriptor = -1;          ///< what the epoll set watches; -1: nothing
        std::uint32_t generation = 0; ///< counts the descriptors; tells an event of an earlier one
        bool lost = false;            ///< reported as disconnected and due for a retry
        unsigned int retryTick = 0;
    };

    EndPointTable();
    ~EndPointTable();

    EndPointTable(const EndPointTable&) = delete;
    EndPointTable& operator=(const EndPointTable&) = delete;

    /// \param descriptor  -1 for an end point that is closed
    /// \return whether it is registered now; false when it was before or the system refuses the descriptor
    bool add(KXEndPoint* endPoint, KXEndPointHandler* handler, int descriptor) KX_EXCLUDES(lock);

    /// Unregisters an end point and waits until no other thread is busy with it.
    /// \return whether it was registered
    bool remove(const KXEndPoint* endPoint) KX_EXCLUDES(lock);

    /// Watches \p descriptor for a registration, instead of its earlier one. The end point is not lost any more.
    /// \return false when the registration is gone or the system refuses the descriptor
    bool watch(Number number, int descriptor) KX_EXCLUDES(lock);

    /// Whether the epoll set watches \p descriptor for a registration. A closed descriptor leaves the set
    /// silently, and its number may belong to another file by now.
    bool isWatched(Number number, int descriptor) KX_EXCLUDES(lock);

    /// Stops watching until \ref watch. The first retry is due at \p retryTick.
    /// \return false when the registration is gone or was lost before: then there is nothing to report
    bool setLost(Number number, unsigned int retryTick) KX_EXCLUDES(lock);

    void setRetryTick(Number number, unsigned int retryTick) KX_EXCLUDES(lock);

    /// All registrations, in the order in which they were made.
    void getNumbers(std::pmr::vector<Number>& numbers) const KX_EXCLUDES(lock);

    /// Milliseconds from \p now to the next retry of a lost end point, at most \p limit; never negative.
    int getTimeToNextRetry(unsigned int now, int limit) const KX_EXCLUDES(lock);

    /// Sleeps until something can be read or \p timeoutMs is over.
    /// \param events  what was found; may be empty before the time is over
    void sleep(std::pmr::vector<epoll_event>& events, int timeoutMs) KX_EXCLUDES(lock);

    /// Makes the epoll set anew from the registrations. For the thread that sleeps.
    ///
    /// A file that is closed stays in the set while a forked child, or a duplicate, holds it open. The set would tell
    /// of it for ever, and without its descriptor nobody can take it out.
    void renewSet() KX_EXCLUDES(lock);

    /// Marks an end point as used by the calling thread, for a scope. A removal by another thread waits for its
    /// end.
    class Use {
    public:
        Use(EndPointTable& usedTable, Number usedNumber);
        ~Use();

        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

        /// False when the registration is gone.
        bool isValid() const { return valid; }

        /// As it was when the use began.
        const Registration* operator->() const { return &registration; }

    private:
        EndPointTable& table;
        const Number number;
        Registration registration;
        const bool valid;
    };

    static Number getNumber(const epoll_event& event);
    static std::uint32_t getGeneration(const epoll_event& event);

private:
    struct User {
        Number number;
        std::thread::id thread;
    };

    bool isOpen() const;
    void wakeSleeper() const;
    void forgetDescriptor(int descriptor) KX_REQUIRES(lock);
    bool startWatching(Number number, Registration& registration, int descriptor) KX_REQUIRES(lock);
    void stopWatching(Registration& registration) KX_REQUIRES(lock);
    bool isUsedElsewhere(Number number) const KX_REQUIRES(lock);
    bool beginUse(Number number, Registration& registration) KX_EXCLUDES(lock);
    void endUse(Number number) KX_EXCLUDES(lock);
    void dropWakeUps(std::pmr::vector<epoll_event>& events) const;

    // The numbers are set by the constructor only, so read without the lock. Both are -1 when the system refused one
    // of them.
    int epollDescriptor;
    int wakeUpDescriptor;

    mutable KXStdMutex lock;
    std::map<Number, Registration> registrations KX_GUARDED_BY(lock);
    Number lastNumber KX_GUARDED_BY(lock) = 0;
    std::vector<User> users KX_GUARDED_BY(lock);
    std::condition_variable useEnded;
};

} // namespace KX

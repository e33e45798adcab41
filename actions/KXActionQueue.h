#pragma once

#include "events/KXEvent.h"
#include "platform/KXAction.h"
#include "platform/KXExport.h"

#include <atomic>
#include <boost/container/deque.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/locks.hpp>
#include <boost/thread/mutex.hpp>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace KX {

/// Runs actions that objects post on events: later, in order, on one thread, within a time budget.
///
/// Any thread posts; one thread drains. Since actions post further actions, a drain can be told to look for
/// loops: an action that the same chain has run before, triggered by the same action, on the same event and for
/// the same object, is reported and dropped.
///
/// One queue serves the process. Creating and releasing it belongs to start-up and shut-down, on one thread.
/// Actions and objects are never owned and must outlive the items that point to them.
class KX_EVENTS_API KXActionQueue {
public:
    /// One request to run an action.
    struct actionItem {
        KXAction* action; ///< never null in the queue
        KXAction*
            triggeringAction; ///< the action that was running with loop detection when this was posted, or null
        int eventType;        ///< of the event on which it was posted; 0 for none
        void* userData;       ///< the object for which it was posted; passed through
        unsigned int executedCount; ///< the queue's \ref KXActionQueue::executedCount at that time
        unsigned int threadID;      ///< who posted

        /// By the first four fields, each as an unsigned number; the last two take no part, so two items that
        /// differ in them alone are one to a set.
        KX_EVENTS_API bool operator<(const actionItem& other) const;
    };

    // Larger blocks than those of std::deque, so that few posts reach the heap.
    using itemBlocks =
        boost::container::deque<actionItem, void,
                                boost::container::deque_options_t<boost::container::block_bytes<4096>>>;

    /// Items in posting order. All but \ref empty and \ref size is for those who hold the queue's mutex; these
    /// two may be asked without it.
    class itemDeque : private itemBlocks {
    public:
        using itemBlocks::at;
        using itemBlocks::back;
        using itemBlocks::begin;
        using itemBlocks::cbegin;
        using itemBlocks::cend;
        using itemBlocks::end;
        using itemBlocks::front;
        using itemBlocks::rbegin;
        using itemBlocks::rend;
        using itemBlocks::operator[];
        using typename itemBlocks::const_iterator;
        using typename itemBlocks::const_reference;
        using typename itemBlocks::iterator;
        using typename itemBlocks::reference;
        using typename itemBlocks::size_type;
        using typename itemBlocks::value_type;

        bool empty() const {
            return size() == 0;
        }

        std::size_t size() const {
            return count.load(std::memory_order_acquire);
        }

        void push_back(const actionItem& item) {
            itemBlocks::push_back(item);
            publishSize(count.load(std::memory_order_relaxed) + 1);
        }

        void pop_front() {
            itemBlocks::pop_front();
            publishSize(count.load(std::memory_order_relaxed) - 1);
        }

        void clear() {
            itemBlocks::clear();
            publishSize(0);
        }

    private:
        void publishSize(std::size_t size) {
            count.store(size, std::memory_order_release);
        }

        std::atomic<std::size_t> count{0}; // changed under the lock, so without a locked addition
    };

    /// Items, each once, in the order of the items for whoever walks through them. For one thread.
    ///
    /// A chain of actions adds to its history and searches it with every action, and nobody walks through it but
    /// a debugger or a test: so items are found by a hash, and put in order only for a walk.
    class itemSet {
    public:
        using key_type = actionItem;
        using value_type = actionItem;
        using size_type = std::size_t;
        using const_iterator = std::vector<actionItem>::const_iterator;
        using iterator = const_iterator;

        bool empty() const {
            return items.empty();
        }

        std::size_t size() const {
            return items.size();
        }

        // Iterators hold until the set changes.

        const_iterator begin() const {
            return inOrder().begin();
        }

        const_iterator end() const {
            return inOrder().end();
        }

        const_iterator cbegin() const {
            return begin();
        }

        const_iterator cend() const {
            return end();
        }

        auto rbegin() const {
            return inOrder().rbegin();
        }

        auto rend() const {
            return inOrder().rend();
        }

        /// The first item that is not less than \p item.
        KX_EVENTS_API const_iterator lower_bound(const actionItem& item) const;

        KX_EVENTS_API const_iterator find(const actionItem& item) const;

        std::size_t count(const actionItem& item) const {
            return find(item) != end() ? 1 : 0;
        }

        /// Adds \p item unless one is there that equals it, which then stays.
        KX_EVENTS_API std::pair<const_iterator, bool> insert(const actionItem& item);

        /// Takes the item out that equals \p item.
        /// \return how many were taken out: 1 or 0
        KX_EVENTS_API std::size_t erase(const actionItem& item);

        KX_EVENTS_API void clear() noexcept;

    private:
        friend class KXActionQueue;

        struct slot {
            std::uint32_t hash;
            std::uint32_t place; // of the item, counted from 1; 0: the slot is free
        };

        KX_LOCAL const actionItem* lookUp(const actionItem& item) const;
        KX_LOCAL bool add(const actionItem& item);
        KX_LOCAL void addAll(const itemSet& others);
        KX_LOCAL void reserve(std::size_t number);
        KX_LOCAL void append(const actionItem& item);
        KX_LOCAL void makeSlots(std::size_t number);
        KX_LOCAL void enter(std::uint32_t hash, std::uint32_t place);
        KX_EVENTS_API const std::vector<actionItem>& inOrder() const;

        std::vector<actionItem> items; // in no order
        std::vector<slot> table;       // none while items are few; else a power of two, most of them free
        mutable std::vector<actionItem> ordered; // the items in order; outdated when it is shorter
    };

    /// Wakes those who wait for an item; goes with the queue's mutex. Used as a boost::condition_variable, which it
    /// is but for this: every wait is counted, because Boost takes a lock to signal, which is needed only while
    /// somebody waits.
    class itemCondition {
    public:
        /// Who has the condition itself may wait at any time and is counted for good.
        operator boost::condition_variable&() noexcept {
            waiters.fetch_add(1, std::memory_order_relaxed);
            return condition;
        }

        void notify_one() noexcept {
            condition.notify_one();
        }

        void notify_all() noexcept {
            condition.notify_all();
        }

        boost::condition_variable::native_handle_type native_handle() {
            return condition.native_handle();
        }

        template<class... More>
        auto wait(boost::unique_lock<boost::mutex>& lock, More&&... more) {
            const Waiter waiter(waiters);
            return condition.wait(lock, std::forward<More>(more)...);
        }

#ifdef BOOST_THREAD_USES_CHRONO
        template<class... More>
        auto wait_for(boost::unique_lock<boost::mutex>& lock, More&&... more) {
            const Waiter waiter(waiters);
            return condition.wait_for(lock, std::forward<More>(more)...);
        }

        template<class... More>
        auto wait_until(boost::unique_lock<boost::mutex>& lock, More&&... more) {
            const Waiter waiter(waiters);
            return condition.wait_until(lock, std::forward<More>(more)...);
        }
#endif

#ifdef BOOST_THREAD_USES_DATETIME
        template<class... More>
        auto timed_wait(boost::unique_lock<boost::mutex>& lock, More&&... more) {
            const Waiter waiter(waiters);
            return condition.timed_wait(lock, std::forward<More>(more)...);
        }
#endif

        /// As \ref notify_one, for a thread that holds the lock with which the others wait: nobody can be on the
        /// way into a wait without being counted.
        void notifyOneLocked() noexcept {
            if (waiters.load(std::memory_order_relaxed) != 0)
                notify_one();
            else
                pthread_cond_signal(condition.native_handle());
        }

    private:
        class Waiter {
        public:
            explicit Waiter(std::atomic<unsigned int>& waiters) : count(waiters) {
                count.fetch_add(1, std::memory_order_relaxed);
            }

            ~Waiter() {
                count.fetch_sub(1, std::memory_order_relaxed);
            }

            Waiter(const Waiter&) = delete;
            Waiter& operator=(const Waiter&) = delete;

        private:
            std::atomic<unsigned int>& count;
        };

        boost::condition_variable condition;
        std::atomic<unsigned int> waiters{
            0}; // those in a wait, who count themselves with the lock of the wait held
    };

    /// Makes the queue. If there is one already, says so on standard error and returns that.
    static KXActionQueue* create();

    /// The queue. Without one, says so on standard error and aborts the process.
    static KXActionQueue* instance();

    /// Destroys the queue; what it holds is not run. Harmless without one.
    static void release();

    /// \throws boost::thread_resource_error  the system has no mutex or condition variable left
    KXActionQueue();

    /// Drops what is queued without running it.
    virtual ~KXActionQueue();

    KXActionQueue(const KXActionQueue&) = delete;
    KXActionQueue& operator=(const KXActionQueue&) = delete;

    /// Queues \p action. Any thread, also from inside an action that runs. Blocks for the time in which another
    /// thread appends an item.
    ///
    /// The action learns the type of the event here and now, not when it runs: after two posts it knows the
    /// second. A null action is ignored, which is said on standard output.
    /// \param event     may be null: then the type is 0, and the item never counts as a loop
    /// \param userData  may be null: then the item never counts as a loop
    /// \throws boost::lock_error  the lock failed; nothing is queued
    void postAction(KXAction* action, KXEvent* event, void* userData);

    /// Runs queued actions, those that they post included, until none is left or the time is up. No lock is
    /// held while an action runs. At least one item is handled, however late it is. An action that is not ready
    /// is dropped; a loop is reported on standard output and dropped.
    ///
    /// To be called on one thread, always the same: only what is posted on the thread that first called this
    /// function can be a loop. Never waits for an item unless another thread took the last one meanwhile; that
    /// wait is a Boost interruption point.
    /// \param deadline     tick (see KXTick) after which no further item is begun
    /// \param detectLoops  whether to keep the history by which loops are found
    /// \return 0 the queue was emptied; 23 it was empty on entry; 46 the deadline passed after an item, and the
    ///         history is kept for the next call
    /// \throws boost::thread_interrupted  interrupted in the wait; nothing is taken
    int executeActions(unsigned int deadline, bool detectLoops);

    // Public for those who look into a queue from a debugger or a test; the queue itself changes them.

    itemDeque pendingItems; ///< in posting order; guarded by mutex, but for a look whether it is empty
    boost::mutex mutex;
    itemCondition itemPosted; ///< goes with mutex; signalled once a post

    // Written by the executing thread only. The atomics are read by postAction on any thread without the lock.

    itemSet executedBefore;                        ///< executed in earlier generations of this drain
    std::atomic<KXAction*> currentAction{nullptr}; ///< running now with loop detection, or null
    KXAction* generationTrigger = nullptr;         ///< triggering action of the item that opened the generation
    itemSet executedNow;                           ///< executed in the current generation
    std::atomic<unsigned int> executedCount{0};    ///< executed with loop detection since the queue ran empty

    static KXActionQueue* theInstance; ///< null unless \ref create has made one

private:
    inline KX_LOCAL actionItem takeOldest();
    KX_LOCAL void forgetDrain();
    KX_LOCAL void waitForItem();
    KX_LOCAL void executeUnlessLoop(const actionItem& item, unsigned int executingThreadID);
    KX_LOCAL void openGeneration(const actionItem& item);
    KX_LOCAL bool isLoop(const actionItem& item, unsigned int executingThreadID) const;
    KX_LOCAL void executeRecorded(const actionItem& item);

    std::atomic<bool> isMutexTaken{false}; // what a thread sees of the mutex before it locks
};

} // namespace KX

#pragma once

#include "actions/KXHashedSet.h"
#include "events/KXEvent.h"
#include "events/sync/KXBackoffMutex.h"
#include "events/sync/KXCountedCondition.h"
#include "events/sync/KXSizedDeque.h"
#include "platform/KXAction.h"
#include "platform/KXExport.h"
#include "platform/KXThreadSafety.h"

#include <atomic>
#include <cstdint>

namespace KX {

/// Runs actions that objects post on events: later, in order, on one thread, within a time budget.
///
/// Any thread posts; one thread runs what was posted, with \ref executeActions. A drain is all that it runs until the
/// queue is empty, in one call or in several. Actions post further actions, so a drain can detect loops. An action is
/// a loop if the same chain has run it before, triggered by the same action, on the same event and for the same
/// object. A loop is reported and dropped.
///
/// One queue serves the process. Create it at start-up and release it at shut-down, on one thread; neither blocks.
/// The queue never owns actions and objects. They must outlive the items that point to them.
class KX_EVENTS_API KXActionQueue {
public:
    /// One request to run an action.
    struct actionItem {
        KXAction* action;           ///< never null in the queue
        KXAction* triggeringAction; ///< the action that ran with loop detection when this was posted, or null
        int eventType;              ///< of the event on which it was posted; 0 for none
        void* userData;             ///< the object for which it was posted; passed through
        unsigned int executedCount; ///< the queue's \ref KXActionQueue::executedCount at the post
        unsigned int threadID;      ///< the posting thread

        /// Compares the first four fields, each as an unsigned number. Both operators ignore the last two.
        KX_EVENTS_API bool operator<(const actionItem& other) const;
        /// Whether the first four fields are equal.
        KX_EVENTS_API bool operator==(const actionItem& other) const;
    };

    /// The hash by which the history finds items. Depends on what operator== compares.
    struct itemHash {
        /// Any thread; does not block.
        KX_EVENTS_API std::uint32_t operator()(const actionItem& item) const;
    };

    /// The queue's store.
    using itemDeque = KXSizedDeque<actionItem, 128>;
    /// The history of a drain.
    using itemSet = KXHashedSet<actionItem, itemHash>;

    /// Makes the queue, which belongs to the class until \ref release. If one exists already, reports that on
    /// standard error and returns it.
    static KXActionQueue* create();

    /// The queue, owned by the class. Without one, reports that on standard error and aborts the process.
    static KXActionQueue* instance();

    /// Destroys the queue and drops its items without running them. Harmless without a queue.
    static void release();

    /// \throws boost::thread_resource_error  the system has no mutex or condition variable left
    [[gnu::cold]] KXActionQueue();

    [[gnu::cold]] virtual ~KXActionQueue();

    KXActionQueue(const KXActionQueue&) = delete;
    KXActionQueue& operator=(const KXActionQueue&) = delete;

    /// Queues \p action. Any thread, also a running action. Blocks only while another thread appends or takes an
    /// item.
    ///
    /// The action's \c triggeringEventType is set here, not when it runs: a second post overwrites it. A null
    /// action is ignored and reported on standard output.
    /// \param event     may be null: then the type is 0, and the item never counts as a loop
    /// \param userData  may be null: then the item never counts as a loop
    /// \throws std::bad_alloc  nothing is queued
    /// \throws boost::lock_error  the lock failed; nothing is queued
    void postAction(KXAction* action, KXEvent* event, void* userData);

    /// Runs queued actions, and those that they post, until the queue is empty or the time is up. It handles at
    /// least one item, however late it is. It drops actions that are not ready. It reports loops on standard
    /// output and drops them. It holds no lock while an action runs.
    ///
    /// Call it always on the same thread: only posts of the thread that called it first can be loops. It waits
    /// only if another thread took the last item meanwhile. The wait is a Boost interruption point.
    ///
    /// An action may call it. The inner call runs what is queued, and if it empties the queue, it forgets the
    /// history, the calling action included: a loop of actions that do so is not found and ends in a stack overflow.
    ///
    /// If an action throws, the exception passes to the caller. The action's item is gone, the others stay.
    /// \param deadline     tick (see KXTick) after which no further item is begun; compared as a plain number, so
    ///                     one beyond the wrap of the tick has passed
    /// \param detectLoops  whether to keep the history by which loops are found
    /// \return STATUS_OK (0) the queue was emptied; STATUS_QUEUE_EMPTY (23) it was empty on entry;
    ///         STATUS_DEADLINE_PASSED (46) the deadline passed after an item; the history stays for the next call
    /// \throws std::bad_alloc  the history lacks memory: the action has run, and a later turn finds its loop
    /// \throws boost::lock_error  the lock failed; nothing is taken
    /// \throws boost::thread_interrupted  interrupted in the wait; nothing is taken
    int executeActions(unsigned int deadline, bool detectLoops);

    // Public for debuggers and tests. Only the queue itself changes them.

    itemDeque pendingItems KX_GUARDED_BY(mutex); ///< in posting order; empty() and size() need no lock
    KXBackoffMutex mutex;                        ///< a boost::mutex
    KXCountedCondition itemPosted; ///< a boost::condition_variable, goes with mutex; signalled once a post

    // Only the executing thread writes them. Posting threads read the atomics without the lock. A generation of a
    // drain ends when the next item was posted before the last action had ended.

    itemSet executedBefore;                        ///< executed in earlier generations of this drain
    std::atomic<KXAction*> currentAction{nullptr}; ///< running now with loop detection, or null
    KXAction* generationTrigger = nullptr;         ///< triggering action of the item that opened the generation
    itemSet executedNow;                           ///< executed in the current generation
    std::atomic<unsigned int> executedCount{0};    ///< executed with loop detection since the queue ran empty

    static KXActionQueue* theInstance; ///< null unless \ref create has made one

private:
    inline KX_LOCAL bool hasItems() const;
    inline KX_LOCAL actionItem takeOldest() KX_EXCLUDES(mutex);
    KX_LOCAL void forgetDrain();
    KX_LOCAL void waitForItem() KX_REQUIRES(mutex);
    KX_LOCAL void executeUnlessLoop(const actionItem& item, unsigned int executingThreadID);
    KX_LOCAL void openGeneration(const actionItem& item);
    KX_LOCAL bool isLoop(const actionItem& item, unsigned int executingThreadID) const;
    KX_LOCAL void executeRecorded(const actionItem& item);
};

} // namespace KX

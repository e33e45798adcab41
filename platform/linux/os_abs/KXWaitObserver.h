#pragma once

#include "platform/KXExport.h"

namespace KX {

/// Watches the passes of threads that wait for end points, as the input event manager's worker does: it waits,
/// asks for the tick once, and does by that tick what has become due.
///
/// What a pass does depends on its tick, and nothing else tells which one it was: so this is what a program needs
/// that records a session to play it back exactly, or that plays one back and holds the worker meanwhile. Of this
/// platform only. Without an observer it costs one look at a variable for each wait and each tick.
class KX_OS_ABS_API KXWaitObserver {
public:
    virtual ~KXWaitObserver();

    /// A thread begins to wait. The pass before, if there was one, is over.
    virtual void onWaitBegins() = 0;

    /// The wait has ended, its handlers have run, and a pass is to follow. The thread holds none of the library's
    /// locks, so it may be kept here until the pass may go on.
    virtual void onWaitEnds() = 0;

    /// The first tick for which the thread asks after its wait: that of the pass. The thread may hold the
    /// library's locks: do not wait here for one that another thread keeps while it calls the library.
    virtual void onPassTick(unsigned int tick) = 0;

    /// Makes \p observer the one of the process; null: nobody. It is told of waits that begin from now on, the former
    /// one of no more passes. The former one must live until the waits that began under it are over.
    static void set(KXWaitObserver* observer);
};

} // namespace KX

#pragma once

#include <csignal>
#include <ctime>

namespace KX {

/// Keeps SIGPIPE from the calling thread, for a scope. A write to a pipe without a reader then only fails.
class BlockedPipeSignal {
public:
    BlockedPipeSignal() {
        sigemptyset(&pipeSignal);
        sigaddset(&pipeSignal, SIGPIPE);
        sigset_t pending;
        wasPending = sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &pipeSignal, &before);
    }

    ~BlockedPipeSignal() {
        constexpr timespec atOnce{};
        // The kernel sends the signal to the thread that writes, so it is pending here or nowhere.
        if (!wasPending)
            sigtimedwait(&pipeSignal, nullptr, &atOnce);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    BlockedPipeSignal(const BlockedPipeSignal&) = delete;
    BlockedPipeSignal& operator=(const BlockedPipeSignal&) = delete;

private:
    sigset_t pipeSignal{};
    sigset_t before{};
    bool wasPending = false; // then it is the application's, and stays
};

} // namespace KX

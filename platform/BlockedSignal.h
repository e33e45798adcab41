#pragma once

#include <csignal>
#include <ctime>

namespace KX {

/// Keeps a signal that a failing write sends from the calling thread, for a scope. The write then only fails: SIGPIPE
/// where a pipe has no reader, SIGXFSZ where a file has the size that the process may write.
class BlockedSignal {
public:
    explicit BlockedSignal(int signal) {
        sigemptyset(&blocked);
        sigaddset(&blocked, signal);
        sigset_t pending;
        sigpending(&pending);
        wasPending = sigismember(&pending, signal) == 1;
        pthread_sigmask(SIG_BLOCK, &blocked, &before);
    }

    ~BlockedSignal() {
        static constexpr timespec atOnce{};
        // The kernel sends the signal to the thread that writes, so it is pending here or nowhere.
        if (!wasPending)
            sigtimedwait(&blocked, nullptr, &atOnce);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    BlockedSignal(const BlockedSignal&) = delete;
    BlockedSignal& operator=(const BlockedSignal&) = delete;

private:
    sigset_t blocked;
    sigset_t before;
    bool wasPending = false; // then it is the application's, and stays
};

} // namespace KX

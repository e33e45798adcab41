#include "terminal/session/ProcessSignals.h"

#include <cerrno>
#include <csignal>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace Terminal {

namespace {

sigset_t heldSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGUSR1);
    return set;
}

} // namespace

void ProcessSignals::hold() {
    const sigset_t set = heldSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

ProcessSignals::ProcessSignals() {
    const sigset_t set = heldSignals();
    descriptor = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
    if (descriptor == -1) // no descriptors or no memory left at start-up: give up
        throw std::system_error(errno, std::generic_category(), "signalfd");
    readable = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
    connect(readable.get(), &QSocketNotifier::activated, this, &ProcessSignals::takeSignals);
}

ProcessSignals::~ProcessSignals() {
    readable.reset(); // stop watching before the descriptor is closed
    close(descriptor);
}

void ProcessSignals::takeSignals() {
    // A read that fails means that the signal was taken before.
    signalfd_siginfo signal;
    if (read(descriptor, &signal, sizeof signal) != sizeof signal)
        return;
    if (signal.ssi_signo == SIGUSR1)
        emit saveRequested();
    else
        emit terminationRequested();
}

} // namespace Terminal

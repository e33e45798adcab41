#include "terminal/session/TerminationSignals.h"

#include <cerrno>
#include <csignal>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace Terminal {

namespace {

sigset_t terminationSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

} // namespace

void TerminationSignals::hold() {
    const sigset_t set = terminationSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

TerminationSignals::TerminationSignals() {
    const sigset_t set = terminationSignals();
    descriptor = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
    if (descriptor == -1) // no descriptors or no memory left at start-up: give up
        throw std::system_error(errno, std::generic_category(), "signalfd");
    readable = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
    connect(readable.get(), &QSocketNotifier::activated, this, &TerminationSignals::takeSignals);
}

TerminationSignals::~TerminationSignals() {
    readable.reset(); // stop watching before the descriptor is closed
    close(descriptor);
}

void TerminationSignals::takeSignals() {
    // Both signals have the same effect. A read that fails means that the signal was taken before.
    signalfd_siginfo signal;
    if (read(descriptor, &signal, sizeof signal) == sizeof signal)
        emit terminationRequested();
}

} // namespace Terminal

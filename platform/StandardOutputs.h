#pragma once

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace KX {

/// Keeps a new descriptor off standard output and standard error. A program that has closed them gets their numbers
/// for what it opens next, and its lines would go into a pipe of events, a recording or onto a bus.
/// \param descriptor  what the system gave; -1 passes through
/// \return the descriptor, or another one for the same file; -1 with an error number when none is left, and then
///         \p descriptor is closed
inline int keepOffStandardOutputs(int descriptor) {
    if (descriptor != STDOUT_FILENO && descriptor != STDERR_FILENO)
        return descriptor;
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    close(descriptor);
    errno = error;
    return moved;
}

} // namespace KX

#include "platform/linux/utility/NonBlockingError.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KX {

namespace {

/// \return the same pipe or terminal with flags of its own; -1 when it may not be opened
int openErrorAnew() {
    int opened;
    do {
        opened = open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    } while (opened < 0 && errno == EINTR);
    // ENXIO: nobody reads the pipe. EACCES: another user made it. ENOENT: /proc is missing. EMFILE: no descriptor
    // is left.
    return opened;
}

bool hasRoom(int descriptor, int timeoutMs) {
    pollfd query{};
    query.fd = descriptor;
    query.events = POLLOUT;
    // A failed output counts as well: the write tells what is wrong with it. So does a failed call: a process that may
    // have no descriptors (EINVAL) may still write.
    return poll(&query, 1, timeoutMs) != 0;
}

} // namespace

NonBlockingError::NonBlockingError() : descriptor(STDERR_FILENO) {
    struct stat status {};
    if (fstat(STDERR_FILENO, &status) != 0)
        return; // EBADF: closed. The write fails, too.
    if (S_ISSOCK(status.st_mode)) {
        kind = Kind::socket;
    } else if (!S_ISFIFO(status.st_mode) && !S_ISCHR(status.st_mode)) {
        kind = Kind::file;
    } else if (const int opened = openErrorAnew(); opened >= 0) {
        kind = Kind::openedAnew;
        descriptor = opened;
    }
}

NonBlockingError::~NonBlockingError() {
    if (kind == Kind::openedAnew)
        close(descriptor);
}

ssize_t NonBlockingError::write(const char* text, std::size_t length) const {
    if (kind == Kind::socket)
        return send(descriptor, text, length, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (kind == Kind::shared) {
        // A pipe with room for a byte has room for PIPE_BUF of them, unless another program fills it meanwhile.
        if (!hasRoom(descriptor, 0)) {
            errno = EAGAIN;
            return -1;
        }
        length = std::min<std::size_t>(length, PIPE_BUF);
    }
    return ::write(descriptor, text, length);
}

bool NonBlockingError::waitForRoom(Clock::time_point limit) const {
    const auto remaining = std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now()).count();
    if (remaining <= 0)
        return false;
    // EINTR: the caller tries again, and waits again if that was too early.
    hasRoom(descriptor, static_cast<int>(remaining));
    return true;
}

} // namespace KX

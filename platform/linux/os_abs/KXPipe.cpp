#include "platform/KXPipe.h"

#include "platform/KXStatus.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace KX {

namespace {

/// Room for over 7,000 event records.
constexpr int wantedCapacity = 1024 * 1024;

/// Makes the pipe as large as the system lets us. A small pipe loses events earlier, but works.
void enlarge(int writeEnd) {
    const int presentCapacity = fcntl(writeEnd, F_GETPIPE_SZ);
    for (int capacity = wantedCapacity; capacity > presentCapacity; capacity /= 2) {
        // EPERM: above the limit of this user. EBUSY and ENOMEM: no kernel memory for that many pages.
        if (fcntl(writeEnd, F_SETPIPE_SZ, capacity) >= 0)
            return;
    }
}

} // namespace

/// The two descriptors.
///
/// Atomic because the thread that waits on the pipe asks whether it is open while others write into it. That a
/// descriptor is not closed under a writer is the caller's promise.
class KX_LOCAL KXPipe::Implementation {
public:
    std::atomic<int> readEnd{-1};
    std::atomic<int> writeEnd{-1};

    bool isOpen() const {
        return readEnd >= 0 && writeEnd >= 0;
    }

    int open() {
        int ends[2];
        if (pipe2(ends, O_NONBLOCK | O_CLOEXEC) != 0) {
            // EMFILE, ENFILE: no descriptors left. Nothing was opened.
            return STATUS_REFUSED;
        }
        enlarge(ends[1]);
        readEnd = ends[0];
        writeEnd = ends[1];
        return STATUS_OK;
    }

    void close() {
        closeEnd(writeEnd);
        closeEnd(readEnd);
    }

    int countBytes() const {
        int bytes = 0;
        // Fails only for a descriptor that is not open, and then nothing waits in it.
        return ioctl(readEnd, FIONREAD, &bytes) == 0 ? bytes : 0;
    }

    bool hasRoomFor(int size) const;

private:
    static void closeEnd(std::atomic<int>& end) {
        const int descriptor = end.exchange(-1);
        if (descriptor >= 0) {
            // Not repeated after EINTR: on Linux the descriptor is free by then and may be somebody else's.
            ::close(descriptor);
        }
    }
};

/// Whether a write of more than PIPE_BUF bytes, of which the kernel might take a part only, is taken whole.
///
/// The kernel counts pages. It starts a new one when a write does not fit into the last, so two neighbours hold
/// more than one page together, and only the first, which is being read, may hold as little as a byte.
bool KXPipe::Implementation::hasRoomFor(int size) const {
    const int capacity = fcntl(writeEnd, F_GETPIPE_SZ);
    if (capacity <= 0)
        return false;
    const int pageSize = static_cast<int>(sysconf(_SC_PAGESIZE));
    const int bytes = countBytes();
    const int pagesInUse = bytes == 0 ? 0 : 2 * (bytes / pageSize) + 2;
    const int pagesNeeded = (size - 1) / pageSize + 1;
    return pagesNeeded <= capacity / pageSize - pagesInUse;
}

KXPipe::KXPipe() : implementation(new Implementation) {}

KXPipe::~KXPipe() {
    implementation->close();
    delete implementation;
}

int KXPipe::init() {
    return implementation->isOpen() ? STATUS_OK : implementation->open();
}

int KXPipe::writeIntoPipe(void* data, int size) const {
    if (!data || size <= 0)
        return STATUS_OUT_OF_RANGE;
    if (size > PIPE_BUF && !implementation->hasRoomFor(size))
        return STATUS_REFUSED;
    const auto wanted = static_cast<std::size_t>(size);
    ssize_t written;
    do {
        // One call for the whole record: up to PIPE_BUF bytes the kernel takes it whole or not at all, so the
        // writing threads need no lock, and a full pipe never leaves half a record behind.
        written = write(implementation->writeEnd, data, wanted);
        // EINTR: a signal came before anything was transferred.
    } while (written < 0 && errno == EINTR);
    // EAGAIN: full; waiting for room could hang a thread that is the reader too. EBADF: closed. EPIPE, and the
    // signal that goes with it, cannot come: both ends are ours and closed together.
    return written == size ? STATUS_OK : STATUS_REFUSED;
}

int KXPipe::readFromPipe(void* data, int size) {
    if (!data || size <= 0)
        return STATUS_OUT_OF_RANGE;
    const auto wanted = static_cast<std::size_t>(size);
    ssize_t taken;
    do {
        taken = read(implementation->readEnd, data, wanted);
        // EINTR: a signal came before anything was transferred.
    } while (taken < 0 && errno == EINTR);
    // EAGAIN: empty. EBADF: closed. Fewer bytes than wanted: the rest of a record will not come, since records
    // are written whole; what there was is gone, so that nobody is woken for it again.
    return taken == size ? STATUS_OK : STATUS_REFUSED;
}

bool KXPipe::isReadable() const {
    pollfd query{};
    query.fd = implementation->readEnd;
    query.events = POLLIN;
    int ready;
    do {
        // A closed end is -1, which poll passes over.
        ready = poll(&query, 1, 0);
        // EINTR: nothing was learnt, ask again.
    } while (ready < 0 && errno == EINTR);
    return ready > 0 && (query.revents & POLLIN) != 0;
}

int KXPipe::getNoOfBytesAvailable() const {
    return implementation->countBytes();
}

int KXPipe::getReadEndPointID() const {
    return implementation->readEnd;
}

int KXPipe::getWriteEndPointID() const {
    return implementation->writeEnd;
}

bool KXPipe::isConnected() const {
    return implementation->isOpen();
}

int KXPipe::reconnect() {
    implementation->close();
    return implementation->open();
}

} // namespace KX

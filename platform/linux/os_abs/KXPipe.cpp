#include "platform/KXPipe.h"

#include "platform/KXDebug.h"
#include "platform/KXStatus.h"
#include "platform/StandardOutputs.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace KX {

namespace {

/// Room for over 7,000 event records.
constexpr int wantedCapacity = 1024 * 1024;

/// An event queue writes so many bytes at once. A record that does not fit into the last page starts a new one.
constexpr int eventRecordSize = 136;

int getPageSize() {
    return static_cast<int>(sysconf(_SC_PAGESIZE));
}

int countEvents(int capacity) {
    return capacity / getPageSize() * (getPageSize() / eventRecordSize);
}

unsigned int getPipeDebugKey() {
    static const unsigned int key = KXDebug::insertNewDebugSection("kx_pipe");
    return key;
}

/// Registers the section when the library is loaded: opening a pipe then needs no memory for it.
[[maybe_unused]] const unsigned int pipeKeyOfLoadTime = getPipeDebugKey();

/// Makes the pipe as large as the system allows, up to the wanted size. A smaller pipe works, but is full earlier.
/// \return the capacity in bytes
int enlarge(int writeEnd) {
    const int presentCapacity = std::max(fcntl(writeEnd, F_GETPIPE_SZ), 0); // 0: not told
    for (int capacity = wantedCapacity; capacity > presentCapacity; capacity /= 2) {
        // EPERM: above the limit of this user. EBUSY and ENOMEM: no kernel memory for that many pages.
        const int granted = fcntl(writeEnd, F_SETPIPE_SZ, capacity);
        if (granted >= 0)
            return granted;
    }
    return presentCapacity;
}

} // namespace

/// The two descriptors.
///
/// Atomic because the thread that waits on the pipe asks whether it is open while others write. The caller ensures
/// that no thread writes or reads while the pipe is closed.
class KX_LOCAL KXPipe::Implementation {
public:
    std::atomic<int> readEnd{-1};
    std::atomic<int> writeEnd{-1};

    bool isOpen() const { return readEnd >= 0 && writeEnd >= 0; }

    int open() {
        int ends[2];
        if (pipe2(ends, O_NONBLOCK | O_CLOEXEC) != 0) {
            // EMFILE, ENFILE: no descriptors left. Nothing was opened.
            return STATUS_REFUSED;
        }
        readEnd = keepOffStandardOutputs(ends[0]);
        writeEnd = keepOffStandardOutputs(ends[1]);
        if (!isOpen()) {
            close(); // the one that was kept
            return STATUS_REFUSED;
        }
        reportCapacity(enlarge(writeEnd));
        return STATUS_OK;
    }

    void close() {
        closeEnd(writeEnd);
        closeEnd(readEnd);
    }

    int countBytes() const {
        int bytes = 0;
        // Fails only for a closed pipe, which holds nothing.
        return ioctl(readEnd, FIONREAD, &bytes) == 0 ? bytes : 0;
    }

    bool hasRoomFor(int size) const;

private:
    /// Reports a pipe that is smaller than wanted: it loses events that a larger one would hold.
    void reportCapacity(int capacity) {
        if (capacity == 0 || capacity >= wantedCapacity || capacity == reportedCapacity)
            return;
        reportedCapacity = capacity;
        KXDebug::debugPrintError(
            1, getPipeDebugKey(),
            "the system grants a pipe %d bytes instead of %d: room for %d events instead of %d", capacity,
            wantedCapacity, countEvents(capacity), countEvents(wantedCapacity));
    }

    static void closeEnd(std::atomic<int>& end) {
        const int descriptor = end.exchange(-1);
        if (descriptor >= 0) {
            // Not repeated after EINTR: on Linux the descriptor is closed by then, and its number may be in use
            // again.
            ::close(descriptor);
        }
    }

    // Used while the pipe is opened, by one thread. A reconnect that changes nothing is not reported again.
    int reportedCapacity = 0;
};

/// Whether the kernel will take a write of more than PIPE_BUF bytes whole. Without room for all it takes a part.
///
/// The kernel counts pages. A write that does not fit into the last page starts a new one, so two neighbouring
/// pages hold more than one page of bytes together. The first one, which is being read, may hold a single byte.
bool KXPipe::Implementation::hasRoomFor(int size) const {
    const int capacity = fcntl(writeEnd, F_GETPIPE_SZ);
    if (capacity <= 0)
        return false;
    const int pageSize = getPageSize();
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
    // EAGAIN: the pipe is full. Waiting for room would block a thread that also reads for ever. EBADF: closed.
    // EPIPE and its signal cannot come, since both ends are closed together.
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
    // EAGAIN: empty. EBADF: closed. Fewer bytes than wanted: records are written whole, so the rest never comes.
    // The bytes are consumed and do not wake the reader again.
    return taken == size ? STATUS_OK : STATUS_REFUSED;
}

bool KXPipe::isReadable() const {
    return implementation->countBytes() > 0;
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

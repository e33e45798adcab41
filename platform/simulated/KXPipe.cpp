#include "platform/KXPipe.h"
#include "platform/KXLocks.h"

#include "platform/KXStatus.h"
#include "platform/simulated/Accounts.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace KX {

namespace {

/// Bytes in the order in which they came; grows by doubling and never shrinks, so that a pipe in steady use
/// allocates nothing.
class ByteRing {
public:
    std::size_t size() const { return used; }

    void clear() {
        first = 0;
        used = 0;
    }

    void append(const char* data, std::size_t count) {
        if (used + count > bytes.size())
            grow(used + count);
        const std::size_t begin = (first + used) % bytes.size();
        const std::size_t upToEnd = std::min(count, bytes.size() - begin);
        std::memcpy(bytes.data() + begin, data, upToEnd);
        std::memcpy(bytes.data(), data + upToEnd, count - upToEnd);
        used += count;
    }

    void take(char* data, std::size_t count) {
        const std::size_t upToEnd = std::min(count, bytes.size() - first);
        std::memcpy(data, bytes.data() + first, upToEnd);
        std::memcpy(data + upToEnd, bytes.data(), count - upToEnd);
        first = (first + count) % bytes.size();
        used -= count;
    }

private:
    void grow(std::size_t atLeast) {
        std::vector<char> larger(std::max(atLeast, 2 * bytes.size()));
        const std::size_t held = used;
        take(larger.data(), held);
        bytes.swap(larger);
        first = 0;
        used = held;
    }

    std::vector<char> bytes = std::vector<char>(4096);
    std::size_t first = 0;
    std::size_t used = 0;
};

} // namespace

class KXPipe::Implementation {
public:
    ~Implementation() { close(); }

    int open() {
        const KXLockGuard lock(mutex);
        return isOpen() ? STATUS_OK : openLocked();
    }

    int reopen() {
        close();
        const KXLockGuard lock(mutex);
        return openLocked();
    }

    int write(const void* data, int size) {
        const KXLockGuard lock(mutex);
        const auto count = static_cast<std::size_t>(size);
        if (!isOpen() || faults.pipeWrites.take() ||
            ring.size() + count > static_cast<std::size_t>(pipeCapacity.load()))
            return STATUS_REFUSED;
        ring.append(static_cast<const char*>(data), count);
        return STATUS_OK;
    }

    int read(void* data, int size) {
        const KXLockGuard lock(mutex);
        const auto count = static_cast<std::size_t>(size);
        if (!isOpen() || faults.pipeReads.take())
            return STATUS_REFUSED;
        if (ring.size() < count) {
            ring.clear();
            return STATUS_REFUSED;
        }
        ring.take(static_cast<char*>(data), count);
        return STATUS_OK;
    }

    int available() const {
        const KXLockGuard lock(mutex);
        return static_cast<int>(ring.size());
    }

    int getReadId() const {
        const KXLockGuard lock(mutex);
        return readId;
    }

    int getWriteId() const {
        const KXLockGuard lock(mutex);
        return writeId;
    }

private:
    bool isOpen() const KX_REQUIRES(mutex) { return readId != -1; }

    int openLocked() KX_REQUIRES(mutex) {
        if (faults.pipeInits.take())
            return STATUS_REFUSED;
        readId = newEndPointId();
        writeId = newEndPointId();
        ++livingObjects.openPipes;
        return STATUS_OK;
    }

    void close() KX_EXCLUDES(mutex) {
        const KXLockGuard lock(mutex);
        if (isOpen())
            --livingObjects.openPipes;
        readId = -1;
        writeId = -1;
        ring.clear();
    }

    mutable KXStdMutex mutex;
    ByteRing ring KX_GUARDED_BY(mutex);
    int readId KX_GUARDED_BY(mutex) = -1;
    int writeId KX_GUARDED_BY(mutex) = -1;
};

KXPipe::KXPipe() : implementation(new Implementation) {}

KXPipe::~KXPipe() {
    delete implementation;
}

int KXPipe::init() {
    return implementation->open();
}

int KXPipe::writeIntoPipe(void* data, int size) const {
    return !data || size <= 0 ? STATUS_OUT_OF_RANGE : implementation->write(data, size);
}

int KXPipe::readFromPipe(void* data, int size) {
    return !data || size <= 0 ? STATUS_OUT_OF_RANGE : implementation->read(data, size);
}

bool KXPipe::isReadable() const {
    return implementation->available() > 0;
}

int KXPipe::getNoOfBytesAvailable() const {
    return implementation->available();
}

int KXPipe::getReadEndPointID() const {
    return implementation->getReadId();
}

int KXPipe::getWriteEndPointID() const {
    return implementation->getWriteId();
}

bool KXPipe::isConnected() const {
    return implementation->getReadId() != -1;
}

int KXPipe::reconnect() {
    return implementation->reopen();
}

} // namespace KX

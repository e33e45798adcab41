#include "platform/linux/hardware/FolderLock.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace KX {

namespace {

/// An owner needs some system calls, which take less than one pause.
constexpr int mostAttempts = 20;
constexpr std::chrono::milliseconds pauseBetween{1};

} // namespace

FolderLock::FolderLock(const std::string& folder)
    : descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    // EACCES: a folder that may be used, but not listed. Whatever else is wrong, the caller will meet it again.
    if (descriptor < 0)
        return;
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        // EBADF, EOPNOTSUPP, ENOLCK: a network's file system, which does not lock folders.
        takenByAnother = flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
        if (!takenByAnother)
            return;
        std::this_thread::sleep_for(pauseBetween);
    }
}

FolderLock::~FolderLock() {
    if (descriptor < 0)
        return;
    // A child that another thread has forked meanwhile has a copy of the descriptor, and must not keep the lock.
    flock(descriptor, LOCK_UN);
    close(descriptor);
}

} // namespace KX

#include "platform/linux/hardware/OwnSockets.h"

#include <algorithm>
#include <unistd.h>

namespace KX {

OwnSockets& OwnSockets::get() {
    static OwnSockets& ownSockets = *new OwnSockets;
    return ownSockets;
}

void OwnSockets::insert(const FileIdentity& file) {
    const KXLockGuard guard(lock);
    files.emplace_back(getpid(), file);
}

void OwnSockets::remove(const FileIdentity& file) {
    const KXLockGuard guard(lock);
    files.erase(std::remove(files.begin(), files.end(), Owned(getpid(), file)), files.end());
}

bool OwnSockets::contains(const FileIdentity& file) {
    const KXLockGuard guard(lock);
    return std::find(files.begin(), files.end(), Owned(getpid(), file)) != files.end();
}

} // namespace KX

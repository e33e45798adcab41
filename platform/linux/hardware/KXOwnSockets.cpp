#include "platform/linux/hardware/KXOwnSockets.h"

#include <algorithm>
#include <mutex>
#include <unistd.h>
#include <vector>

namespace KX {

namespace {

using Owned = std::pair<pid_t, KXFileIdentity>;

/// Never destroyed: a bus may be closed by a static destructor.
struct Registry {
    static Registry& get() {
        static Registry* const registry = new Registry;
        return *registry;
    }

    std::mutex lock;
    std::vector<Owned> files; // guarded by lock
};

} // namespace

void KXOwnSockets::insert(const KXFileIdentity& file) {
    const std::lock_guard<std::mutex> guard(Registry::get().lock);
    Registry::get().files.emplace_back(getpid(), file);
}

void KXOwnSockets::remove(const KXFileIdentity& file) {
    const std::lock_guard<std::mutex> guard(Registry::get().lock);
    std::vector<Owned>& files = Registry::get().files;
    files.erase(std::remove(files.begin(), files.end(), Owned(getpid(), file)), files.end());
}

bool KXOwnSockets::contains(const KXFileIdentity& file) {
    const std::lock_guard<std::mutex> guard(Registry::get().lock);
    const std::vector<Owned>& files = Registry::get().files;
    return std::find(files.begin(), files.end(), Owned(getpid(), file)) != files.end();
}

} // namespace KX

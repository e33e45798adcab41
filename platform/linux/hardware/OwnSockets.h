#pragma once

#include <mutex>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace KX {

/// Tells a file from others, whatever its path is.
using FileIdentity = std::pair<dev_t, ino_t>;

/// The socket files that this process has bound and not closed. Any thread.
///
/// A second end point for a bus replaces the first one of the same process, but does not take a bus away from
/// another process. The file itself does not tell which process has bound it.
class OwnSockets {
public:
    /// Never destroyed: a static destructor may close a bus.
    static OwnSockets& get();

    void insert(const FileIdentity& file);
    void remove(const FileIdentity& file);

    /// False in the child of a fork for what the parent has bound.
    bool contains(const FileIdentity& file);

private:
    using Owned = std::pair<pid_t, FileIdentity>;

    std::mutex lock;
    std::vector<Owned> files; // guarded by lock
};

} // namespace KX

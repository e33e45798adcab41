#pragma once

#include "platform/KXLocks.h"

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

    void insert(const FileIdentity& file) KX_EXCLUDES(lock);
    void remove(const FileIdentity& file) KX_EXCLUDES(lock);

    /// False in the child of a fork for what the parent has bound.
    bool contains(const FileIdentity& file) KX_EXCLUDES(lock);

private:
    using Owned = std::pair<pid_t, FileIdentity>;

    KXStdMutex lock;
    std::vector<Owned> files KX_GUARDED_BY(lock);
};

} // namespace KX

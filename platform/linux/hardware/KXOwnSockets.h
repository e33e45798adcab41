#pragma once

#include <string>
#include <sys/types.h>
#include <utility>

namespace KX {

/// A file, whatever its path is called.
using KXFileIdentity = std::pair<dev_t, ino_t>;

/// The socket files that this process has bound and not closed.
///
/// A second end point for the same bus is to replace the first, but a bus of another process is not to be taken
/// away, and a socket file does not tell whose it is. Any thread may call.
class KXOwnSockets {
public:
    KXOwnSockets() = delete;

    static void insert(const KXFileIdentity& file);
    static void remove(const KXFileIdentity& file);

    /// False in the child of a fork for what the parent has bound.
    static bool contains(const KXFileIdentity& file);
};

} // namespace KX

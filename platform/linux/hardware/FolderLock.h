#pragma once

#include <string>

namespace KX {

/// The lock of a folder, for a scope. It excludes processes and threads that take it, too. Allocates no memory.
class FolderLock {
public:
    /// Waits some milliseconds for another owner.
    explicit FolderLock(const std::string& folder);
    ~FolderLock();

    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    /// False where the folder has no lock, or may not be opened.
    bool isTakenByAnother() const { return takenByAnother; }

private:
    int descriptor;
    bool takenByAnother = false;
};

} // namespace KX

#pragma once

#include <string>

namespace KX {

/// The lock of the folder that a file is in, for a scope. It excludes processes and threads that take it, too.
class FolderLock {
public:
    /// Waits some milliseconds for another owner.
    explicit FolderLock(const std::string& pathOfFile);
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

#pragma once

#include <linux/aio_abi.h>

namespace KX::Recording {

/// Asks the kernel to put a file's data on the disk, without waiting for it.
///
/// The kernel does the work on a thread of its own (Linux 4.18 or newer). A system that cannot do that writes the data
/// when it decides to, usually within half a minute. One thread at a time.
class BackgroundSync {
public:
    BackgroundSync() = default;
    ~BackgroundSync();

    BackgroundSync(const BackgroundSync&) = delete;
    BackgroundSync& operator=(const BackgroundSync&) = delete;

    /// Starts a sync of what the file has now. Starts none while the last one is still under way.
    /// \return the error number of the last sync; 0: it did not fail
    int request(int descriptor);

private:
    bool prepare();
    int takeResult();
    void start(int descriptor);

    aio_context_t context = 0; // none
    bool isPossible = true;
    bool isUnderWay = false;
};

} // namespace KX::Recording

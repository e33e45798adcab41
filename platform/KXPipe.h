#pragma once

#include "platform/KXEndPoint.h"

namespace KX {

/// A one-way stream of bytes between threads of one process. A main loop can wait on its read end.
///
/// A platform provides all of this class; the pipe event queue derives from it. Nothing here blocks. Any number of
/// threads may write, one thread reads. The const functions may be called on any thread. No other thread may use the
/// pipe during \ref init, \ref reconnect and the destructor.
///
/// A write is taken whole or not at all. That holds for several threads at once up to 4096 bytes, and for a single
/// writing thread with any size. A pipe should hold as much as the system allows: a full one loses events.
class KX_OS_ABS_API KXPipe : public KXEndPoint {
public:
    /// A closed pipe: nothing can be written or read until \ref init.
    /// \throws std::bad_alloc
    KXPipe();

    /// Closes both ends. Bytes that were not read are lost.
    ~KXPipe() override;

    /// Opens both ends. The Linux platform reports through \ref KXDebug, once, a pipe that the system makes smaller
    /// than 1 MiB: the pipes of one user share a limit, some 64 of that size.
    /// \return STATUS_OK, also when they are open already; STATUS_REFUSED when the system refuses a pipe
    int init();

    /// Writes \p size bytes from \p data, which is only read.
    /// \return STATUS_OK when all were written; STATUS_REFUSED when the pipe is closed, too full, or fails: then
    ///         none was; STATUS_OUT_OF_RANGE when \p data is null or \p size is not positive
    int writeIntoPipe(void* data, int size) const;

    /// Reads \p size bytes to \p data.
    /// \return STATUS_OK when all were read; STATUS_REFUSED when the pipe is closed, fails, or holds fewer.
    ///         STATUS_OUT_OF_RANGE when \p data is null or \p size is not positive. Where the pipe holds fewer,
    ///         those are consumed: they would keep the pipe readable, and the rest of a record never comes
    int readFromPipe(void* data, int size);

    /// Whether at least one byte can be read.
    bool isReadable() const;

    /// Number of bytes that can be read; 0 when the pipe is closed.
    int getNoOfBytesAvailable() const;

    int getReadEndPointID() const override;
    int getWriteEndPointID() const override;
    bool isConnected() const override;

    /// Closes both ends and opens them anew. Bytes that were not read are lost.
    /// \return STATUS_OK; STATUS_REFUSED when the system refuses a pipe
    int reconnect() override;

private:
    class KX_LOCAL Implementation;
    Implementation* implementation;
};

} // namespace KX

#pragma once

#include "platform/KXEndPoint.h"

namespace KX {

/// A one-way stream of bytes between threads of one process, the read end of which can be waited on.
///
/// What a platform provides: writes of up to 4096 bytes are taken whole or not at all, also when several
/// threads write at once, and nothing here ever blocks. Any number of threads may write; one reads.
class KX_OS_ABS_API KXPipe : public KXEndPoint {
public:
    /// An unopened pipe: nothing can be written or read until \ref init.
    KXPipe();

    /// Closes both ends. Bytes still inside are lost.
    ~KXPipe() override;

    /// Opens both ends.
    /// \return 0 on success, also when they are open already; 20 when the system refuses a pipe
    int init();

    /// Writes \p size bytes from \p data.
    /// \return 0 when all were written; 20 when the pipe is closed, too full to take them, or fails: then
    ///         none was; 24 when \p data is null or \p size is not positive
    int writeIntoPipe(void* data, int size) const;

    /// Reads \p size bytes to \p data.
    /// \return 0 when all were read; 20 when the pipe is closed, fails, or held fewer: those it held are then
    ///         consumed, so that a reader who waits for the pipe is not woken for them for ever; 24 when
    ///         \p data is null or \p size is not positive
    int readFromPipe(void* data, int size);

    /// Whether at least one byte can be read without blocking.
    bool isReadable() const;

    /// Bytes waiting in the pipe; 0 when it is closed.
    int getNoOfBytesAvailable() const;

    int getReadEndPointID() const override;
    int getWriteEndPointID() const override;
    bool isConnected() const override;

    /// Opens both ends anew. Bytes inside are lost. Not while other threads write or read.
    int reconnect() override;

private:
    class KX_LOCAL Implementation;
    Implementation* implementation;
};

} // namespace KX

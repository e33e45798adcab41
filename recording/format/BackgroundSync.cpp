#include "recording/format/BackgroundSync.h"

#include <cerrno>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace KX::Recording {

// To destroy the context of a sync under way would wait for the disk, and the caller handles input. The kernel frees
// the context when the process ends.
BackgroundSync::~BackgroundSync() {
    takeResult();
    if (context != 0 && !isUnderWay)
        syscall(SYS_io_destroy, context);
}

int BackgroundSync::request(int descriptor) {
    if (!prepare())
        return 0;
    const int error = takeResult();
    if (error == 0 && !isUnderWay)
        start(descriptor);
    return error;
}

bool BackgroundSync::prepare() {
    // EAGAIN: other programs have all contexts, so the next request tries again. ENOSYS: this kernel has none.
    if (isPossible && context == 0)
        isPossible = syscall(SYS_io_setup, 1, &context) == 0 || errno == EAGAIN;
    return isPossible && context != 0;
}

int BackgroundSync::takeResult() {
    io_event done{};
    timespec atOnce{};
    if (!isUnderWay || syscall(SYS_io_getevents, context, 0, 1, &done, &atOnce) != 1)
        return 0;
    isUnderWay = false;
    return static_cast<int>(-done.res);
}

void BackgroundSync::start(int descriptor) {
    iocb request{};
    request.aio_fildes = static_cast<__u32>(descriptor);
    request.aio_lio_opcode = IOCB_CMD_FDSYNC;
    iocb* requests = &request;
    isUnderWay = syscall(SYS_io_submit, context, 1, &requests) == 1;
    // EAGAIN: short of memory, so the next request tries again. Others: this kernel or file system has no such sync.
    isPossible = isUnderWay || errno == EAGAIN;
}

} // namespace KX::Recording

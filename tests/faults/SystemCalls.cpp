// The table of the calls of the system that the libraries make, each with the errors that it can give. The functions
// here replace those of the system for the whole program, and make the call unless the present fault lets it fail.
//
// A library that calls something new needs a row here, or in the list of what cannot fail in ImportsTest.cpp.

#include "tests/faults/Fault.h"

#include "platform/KXExport.h"

#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>

namespace KX::test {

namespace {

/// An argument or a result, whatever its type: all of them fit into a register.
using Word = long;
using Function = Word (*)(Word, Word, Word, Word, Word, Word);

enum class Fails {
    WithErrno,  ///< returns -1
    WithNumber, ///< returns the error
    WithNull,
    AfterAll ///< like WithErrno, but has done its work
};

Function functionOfSystem(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

Word giveError(Fails how, int error) {
    if (how == Fails::WithNumber)
        return error;
    errno = error;
    return how == Fails::WithNull ? 0 : -1;
}

} // namespace

} // namespace KX::test

// The asm name keeps clear of the declarations in the system's headers. The function of the system is looked up without
// a static variable that needs a lock: that would call one of these functions.
#define KX_REPLACE(function, call, how)                                                                           \
    extern "C" KX_EXPORT KX::test::Word replaced_##function(KX::test::Word a, KX::test::Word b, KX::test::Word c, \
                                                            KX::test::Word d, KX::test::Word e,                   \
                                                            KX::test::Word f) __asm__(#function);                 \
    KX::test::Word replaced_##function(KX::test::Word a, KX::test::Word b, KX::test::Word c, KX::test::Word d,    \
                                       KX::test::Word e, KX::test::Word f) {                                      \
        using namespace KX::test;                                                                                 \
        static std::atomic<Function> system{nullptr};                                                             \
        if (!system)                                                                                              \
            system = functionOfSystem(#function);                                                                 \
        const int error = FaultAccess::errorFor(call, __builtin_return_address(0));                               \
        if (error == 0)                                                                                           \
            return system.load()(a, b, c, d, e, f);                                                               \
        if (Fails::how == Fails::AfterAll)                                                                        \
            system.load()(a, b, c, d, e, f);                                                                      \
        return giveError(Fails::how, error);                                                                      \
    }

#define KX_ROW(function, how, ...)                                                                                \
    static constexpr int errors_of_##function[] = {__VA_ARGS__};                                                  \
    static constexpr KX::test::SystemCall call_##function = {#function, errors_of_##function,                     \
                                                             std::size(errors_of_##function)};                    \
    KX_REPLACE(function, call_##function, how)

// Descriptors and files. Linux closes a descriptor even when close fails.
KX_ROW(close, AfterAll, EINTR, EIO)
KX_ROW(open64, WithErrno, EACCES, EMFILE, ENFILE, ENOMEM, ENOENT, ENOSPC)
KX_ROW(fopen64, WithNull, EACCES, EMFILE, ENFILE, ENOMEM)
KX_ROW(read, WithErrno, EINTR, EAGAIN, EIO)
KX_ROW(write, WithErrno, EINTR, EAGAIN, EIO, ENOSPC, EPIPE)
KX_ROW(fstat64, WithErrno, ENOMEM, EIO)
KX_ROW(lstat64, WithErrno, EACCES, ENOMEM, EIO)
KX_ROW(fchmod, WithErrno, EPERM, EROFS, EIO)
KX_ROW(flock, WithErrno, EWOULDBLOCK, EINTR, ENOLCK)
KX_ROW(fsync, WithErrno, EIO, ENOSPC, EINVAL)
KX_ROW(ftruncate64, WithErrno, EIO, EROFS)
KX_ROW(unlink, WithErrno, EACCES, EBUSY, EROFS)
KX_ROW(getcwd, WithNull, EACCES, ENOENT, ENOMEM)

// Pipes and waits.
KX_ROW(pipe2, WithErrno, EMFILE, ENFILE)
KX_ROW(eventfd, WithErrno, EMFILE, ENFILE, ENODEV, ENOMEM)
KX_ROW(epoll_create1, WithErrno, EMFILE, ENFILE, ENOMEM)
KX_ROW(epoll_wait, WithErrno, EINTR)
KX_ROW(dup3, WithErrno, EBUSY, EINTR)
KX_ROW(poll, WithErrno, EINTR, ENOMEM)
KX_ROW(nanosleep, WithErrno, EINTR)
KX_ROW(sigtimedwait, WithErrno, EINTR)

// Sockets.
KX_ROW(socket, WithErrno, EACCES, EAFNOSUPPORT, EMFILE, ENFILE, ENOBUFS, ENOMEM)
KX_ROW(bind, WithErrno, EACCES, EADDRINUSE, ENODEV, ENOMEM, EROFS)
KX_ROW(connect, WithErrno, EACCES, EAGAIN, EPROTOTYPE)
KX_ROW(recv, WithErrno, EINTR, EAGAIN, ENETDOWN, ENODEV, ENOMEM)
KX_ROW(send, WithErrno, EINTR, EAGAIN, ENOBUFS, EPIPE)
KX_ROW(setsockopt, WithErrno, ENOMEM, ENOPROTOOPT, EPERM)

// Threads.
KX_ROW(pthread_create, WithNumber, EAGAIN, EPERM, EINVAL)
KX_ROW(pthread_join, WithNumber, EDEADLK)
KX_ROW(pthread_attr_init, WithNumber, ENOMEM)
KX_ROW(pthread_mutexattr_init, WithNumber, ENOMEM)
KX_ROW(pthread_mutexattr_setprotocol, WithNumber, ENOTSUP, ENOSYS)
KX_ROW(pthread_mutex_init, WithNumber, EAGAIN, ENOMEM, ENOTSUP)
KX_ROW(pthread_condattr_init, WithNumber, ENOMEM)
KX_ROW(pthread_cond_init, WithNumber, EAGAIN, ENOMEM)

// Of these, only some commands can fail for a reason that lies outside the program.

namespace {

constexpr KX::test::SystemCall neverFails = {"", nullptr, 0};

template<std::size_t count>
constexpr KX::test::SystemCall makeCall(const char* name, const int (&errors)[count]) {
    return {name, errors, count};
}

KX::test::SystemCall fcntlOf(long command) {
    static constexpr int errors[] = {EPERM, EBUSY, ENOMEM};
    return command == F_SETPIPE_SZ ? makeCall("fcntl F_SETPIPE_SZ", errors) : neverFails;
}

KX::test::SystemCall ioctlOf(long command) {
    static constexpr int errors[] = {ENODEV};
    return command == FIONREAD ? neverFails : makeCall("ioctl of an interface", errors);
}

KX::test::SystemCall epollControlOf(long command) {
    static constexpr int errors[] = {ENOMEM, ENOSPC, EPERM};
    return command == EPOLL_CTL_ADD ? makeCall("epoll_ctl EPOLL_CTL_ADD", errors) : neverFails;
}

KX::test::SystemCall syscallOf(long number) {
    static constexpr int setupErrors[] = {EAGAIN, ENOMEM, ENOSYS};
    static constexpr int submitErrors[] = {EAGAIN, EINVAL, ENOSYS};
    static constexpr int resultErrors[] = {EINTR};
    switch (number) {
    case SYS_io_setup: return makeCall("io_setup", setupErrors);
    case SYS_io_submit: return makeCall("io_submit", submitErrors);
    case SYS_io_getevents: return makeCall("io_getevents", resultErrors);
    default: return neverFails;
    }
}

/// Only a mutex that knows its owner can fail, when its owner locks it again.
KX::test::SystemCall lockOf(long mutex) {
    static constexpr int doubleLock[] = {EDEADLK};
    static constexpr int noMutex[] = {EINVAL};
    const int kind = reinterpret_cast<const pthread_mutex_t*>(mutex)->__data.__kind & 3;
    if (kind == PTHREAD_MUTEX_ERRORCHECK_NP)
        return makeCall("pthread_mutex_lock", doubleLock);
    return KX::test::FaultAccess::failsPlainMutexes() ? makeCall("pthread_mutex_lock", noMutex) : neverFails;
}

} // namespace

KX_REPLACE(fcntl64, fcntlOf(b), WithErrno)
KX_REPLACE(ioctl, ioctlOf(b), WithErrno)
KX_REPLACE(epoll_ctl, epollControlOf(b), WithErrno)
KX_REPLACE(syscall, syscallOf(a), WithErrno)
KX_REPLACE(pthread_mutex_lock, lockOf(a), WithNumber)

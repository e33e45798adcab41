#include "platform/KXPipe.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int page = 4096;
constexpr int wanted = 256 * page;

/// The size of each pipe of this user, from its start on. The system grants no more.
int grantedCapacity = wanted;

} // namespace

// Replaces a function of the system for the whole program, libraries included.
extern "C" KX_EXPORT int fcntl(int descriptor, int command, ...) {
    std::va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    if (command == F_GETPIPE_SZ)
        return grantedCapacity;
    if (command == F_SETPIPE_SZ) {
        if (static_cast<int>(argument) <= grantedCapacity)
            return grantedCapacity;
        errno = EPERM;
        return -1;
    }
#ifdef SYS_fcntl64
    return static_cast<int>(syscall(SYS_fcntl64, descriptor, command, argument));
#else
    return static_cast<int>(syscall(SYS_fcntl, descriptor, command, argument));
#endif
}

namespace {

using testing::HasSubstr;

class KXPipeLimitTest : public testing::Test {
protected:
    void SetUp() override {
        if (sysconf(_SC_PAGESIZE) != page)
            GTEST_SKIP() << "the numbers are those of pages of 4096 bytes";
    }

    void TearDown() override { grantedCapacity = wanted; }

    static std::string listen(int (*open)(KX::KXPipe&), KX::KXPipe& pipe) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(open(pipe), 0);
        return testing::internal::GetCapturedStderr();
    }

    static int init(KX::KXPipe& pipe) { return pipe.init(); }
    static int reconnect(KX::KXPipe& pipe) { return pipe.reconnect(); }
};

TEST_F(KXPipeLimitTest, oneOfTheWantedSizeSaysNothing) {
    KX::KXPipe pipe;
    EXPECT_EQ(listen(init, pipe), "");
}

TEST_F(KXPipeLimitTest, oneThatIsAPageSmallerIsToldWithItsNumbers) {
    grantedCapacity = wanted - page;
    KX::KXPipe pipe;
    EXPECT_EQ(listen(init, pipe),
              "[kx_pipe:1] the system grants a pipe 1044480 bytes instead of 1048576: room for "
              "7650 events instead of 7680\n");
}

TEST_F(KXPipeLimitTest, theSixtyFifthOfAUserIsToldOnceAndEachPipeOnItsOwn) {
    grantedCapacity = 2 * page;
    const std::string report = "[kx_pipe:1] the system grants a pipe 8192 bytes instead of 1048576: room for 60 "
                               "events instead of 7680\n";
    KX::KXPipe pipe;
    EXPECT_EQ(listen(init, pipe), report);
    EXPECT_EQ(listen(init, pipe), "");
    EXPECT_EQ(listen(reconnect, pipe), "") << "the same as before";
    grantedCapacity = 16 * page;
    EXPECT_THAT(listen(reconnect, pipe), HasSubstr(" 480 events ")) << "another number";
    grantedCapacity = 2 * page;
    KX::KXPipe other;
    EXPECT_EQ(listen(init, other), report);
}

} // namespace

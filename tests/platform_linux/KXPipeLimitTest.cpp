#include "platform/KXPipe.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int page = 4096;
constexpr int wanted = 256 * page;

/// The size of each pipe of this user, from its start on; -1: the system does not tell.
int presentCapacity = wanted;

/// The system grants no more.
int largestCapacity = wanted;

/// The sizes that were asked for.
std::vector<int> askedCapacities;

} // namespace

// Replaces a function of the system for the whole program, libraries included.
extern "C" KX_EXPORT int fcntl(int descriptor, int command, ...) {
    std::va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    if (command == F_GETPIPE_SZ && presentCapacity < 0) {
        errno = EINVAL;
        return -1;
    }
    if (command == F_GETPIPE_SZ)
        return presentCapacity;
    if (command == F_SETPIPE_SZ) {
        askedCapacities.push_back(static_cast<int>(argument));
        if (askedCapacities.back() <= largestCapacity)
            return askedCapacities.back();
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

using testing::ElementsAre;
using testing::HasSubstr;

class KXPipeLimitTest : public testing::Test {
protected:
    void SetUp() override {
        if (sysconf(_SC_PAGESIZE) != page)
            GTEST_SKIP() << "the numbers are those of pages of 4096 bytes";
    }

    void TearDown() override { setCapacities(wanted, wanted); }

    static void setCapacities(int present, int largest) {
        presentCapacity = present;
        largestCapacity = largest;
        askedCapacities.clear();
    }

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
    setCapacities(wanted - page, wanted - page);
    KX::KXPipe pipe;
    EXPECT_EQ(listen(init, pipe),
              "[kx_pipe:1] the system grants a pipe 1044480 bytes instead of 1048576: room for "
              "7650 events instead of 7680\n");
}

TEST_F(KXPipeLimitTest, theSixtyFifthOfAUserIsToldOnceAndEachPipeOnItsOwn) {
    setCapacities(2 * page, 2 * page);
    const std::string report = "[kx_pipe:1] the system grants a pipe 8192 bytes instead of 1048576: room for 60 "
                               "events instead of 7680\n";
    KX::KXPipe pipe;
    EXPECT_EQ(listen(init, pipe), report);
    EXPECT_EQ(listen(init, pipe), "");
    EXPECT_EQ(listen(reconnect, pipe), "") << "the same as before";
    setCapacities(16 * page, 16 * page);
    EXPECT_THAT(listen(reconnect, pipe), HasSubstr(" 480 events ")) << "another number";
    setCapacities(2 * page, 2 * page);
    KX::KXPipe other;
    EXPECT_EQ(listen(init, other), report);
}

TEST_F(KXPipeLimitTest, asksForHalfAsMuchUntilItIsGrantedAndTellsWhatIs) {
    setCapacities(16 * page, 300000);
    KX::KXPipe pipe;
    EXPECT_EQ(listen(init, pipe), "[kx_pipe:1] the system grants a pipe 262144 bytes instead of 1048576: room for "
                                  "1920 events instead of 7680\n");
    EXPECT_THAT(askedCapacities, ElementsAre(1048576, 524288, 262144));
}

TEST_F(KXPipeLimitTest, asksForNoLessThanItHas) {
    setCapacities(16 * page, 0);
    KX::KXPipe pipe;
    EXPECT_THAT(listen(init, pipe), HasSubstr(" 65536 bytes "));
    EXPECT_THAT(askedCapacities, ElementsAre(1048576, 524288, 262144, 131072));
}

TEST_F(KXPipeLimitTest, oneWhoseSizeTheSystemDoesNotTellSaysNothing) {
    setCapacities(-1, 0);
    KX::KXPipe pipe;
    EXPECT_EQ(listen(init, pipe), "");
    setCapacities(2 * page, 0);
    EXPECT_THAT(listen(reconnect, pipe), HasSubstr(" 8192 bytes "));
    setCapacities(-1, 0);
    EXPECT_EQ(listen(reconnect, pipe), "");
    setCapacities(2 * page, 0);
    EXPECT_EQ(listen(reconnect, pipe), "") << "told before";
}

/// Writes \p size bytes at once.
int write(const KX::KXPipe& pipe, int size) {
    std::string bytes(static_cast<std::size_t>(size), 'x');
    return pipe.writeIntoPipe(bytes.data(), size);
}

TEST_F(KXPipeLimitTest, oneWhoseSizeTheSystemDoesNotTellTakesNoWriteThatItMightTakeAPartOf) {
    setCapacities(-1, 0);
    KX::KXPipe pipe;
    ASSERT_EQ(pipe.init(), 0);
    EXPECT_EQ(write(pipe, 4097), 20);
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
    EXPECT_EQ(write(pipe, 4096), 0);
}

// What is in the pipe may take up to two pages for each that it would fill, and two more.
TEST_F(KXPipeLimitTest, aLargeWriteIsTakenIfThereIsRoomHoweverThePagesAreFilled) {
    setCapacities(16 * page, 16 * page);
    const struct {
        int bytes, freePages;
    } cases[] = {{0, 16}, {1, 14}, {2, 14}, {4095, 14}, {4096, 12}, {8191, 12}, {8192, 10}, {12288, 8}};
    for (const auto& test : cases) {
        KX::KXPipe pipe;
        ASSERT_EQ(pipe.init(), 0);
        if (syscall(SYS_fcntl, pipe.getWriteEndPointID(), F_GETPIPE_SZ, 0L) < 16 * page)
            GTEST_SKIP() << "this user has too many pipes for one of the usual size";
        for (int written = 0; written < test.bytes; written += std::min(test.bytes - written, page))
            ASSERT_EQ(write(pipe, std::min(test.bytes - written, page)), 0);
        EXPECT_EQ(write(pipe, test.freePages * page + 1), 20) << "with " << test.bytes << " bytes in it";
        EXPECT_EQ(pipe.getNoOfBytesAvailable(), test.bytes);
        EXPECT_EQ(write(pipe, test.freePages * page), 0) << "with " << test.bytes << " bytes in it";
        EXPECT_EQ(pipe.getNoOfBytesAvailable(), test.bytes + test.freePages * page);
    }
}

} // namespace

// With the system's own kernel.

#include "recording/format/BackgroundSync.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

bool canSync() {
    aio_context_t context = 0;
    const bool isThere = syscall(SYS_io_setup, 1, &context) == 0;
    if (isThere)
        syscall(SYS_io_destroy, context);
    return isThere;
}

} // namespace

TEST(BackgroundSyncTest, OneSyncAfterTheOtherSucceeds) {
    if (!canSync())
        GTEST_SKIP() << "this system has no syncs in the background";
    std::FILE* const file = std::tmpfile();
    ASSERT_NE(nullptr, file);
    KX::Recording::BackgroundSync sync;
    for (int i = 0; i < 100; ++i) {
        std::fputs("line\n", file);
        std::fflush(file);
        EXPECT_EQ(0, sync.request(fileno(file)));
        std::this_thread::yield();
    }
    std::fclose(file);
}

TEST(BackgroundSyncTest, AFileThatCannotBeSyncedIsNoFailure) {
    KX::Recording::BackgroundSync sync;
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    EXPECT_EQ(0, sync.request(ends[1]));
    EXPECT_EQ(0, sync.request(ends[1]));
    close(ends[0]);
    close(ends[1]);
}

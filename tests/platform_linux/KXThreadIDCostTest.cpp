#include "platform/KXExport.h"
#include "platform/KXThread.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

thread_local int questions = 0; // of this thread to the system

} // namespace

// Replaces the system's function.
extern "C" KX_EXPORT pid_t gettid() noexcept {
    ++questions;
    return static_cast<pid_t>(syscall(SYS_gettid));
}

namespace {

// Each posted action asks for the number of its thread.
TEST(KXThreadIDCostTest, AThreadAsksTheSystemForItsNumberOnce) {
    for (int thread = 0; thread < 2; ++thread)
        std::thread([] {
            const unsigned int first = KX::KXThread::getCurrentThreadID();
            EXPECT_EQ(questions, 1);
            for (int again = 0; again < 3; ++again)
                EXPECT_EQ(KX::KXThread::getCurrentThreadID(), first);
            EXPECT_EQ(questions, 1);
            EXPECT_EQ(first, static_cast<unsigned int>(syscall(SYS_gettid)));
        }).join();
}

} // namespace

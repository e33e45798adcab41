#include "platform/KXMutex.h"
#include "platform/KXThread.h"

#include "tests/support/HeapCount.h"

#include <gtest/gtest.h>

namespace {

TEST(KXThreadMemoryTest, aThreadThatThereIsNoMemoryForIsNullAndTold) {
    const std::string name = "inputEventMgr";
    testing::internal::CaptureStderr();
    KX::KXThread* thread = nullptr;
    {
        const KX::test::NoMoreMemory limit;
        thread = KX::KXThread::create(name);
    }
    EXPECT_EQ(thread, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[kx_thread:1] thread \"inputEventMgr\" cannot be made: no memory is left\n");
    delete thread;
}

TEST(KXMutexMemoryTest, aMutexThatThereIsNoMemoryForIsNull) {
    KX::KXMutex* mutex = nullptr;
    {
        const KX::test::NoMoreMemory limit;
        mutex = KX::KXMutex::create();
    }
    EXPECT_EQ(mutex, nullptr);
    delete mutex;
}

} // namespace

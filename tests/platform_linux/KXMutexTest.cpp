#include "platform/KXMutex.h"

#include "platform/KXThread.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>

namespace {

/// The present priority of a thread in the scheduler; negative for a real-time priority, inherited ones included.
int getPriority(unsigned int threadId) {
    std::ifstream stat("/proc/self/task/" + std::to_string(threadId) + "/stat");
    std::string text;
    std::getline(stat, text);
    std::size_t at = text.rfind(')');
    // State is field 3, priority field 18.
    for (int field = 2; field < 18; ++field)
        at = text.find(' ', at + 1);
    return std::stoi(text.substr(at + 1));
}

TEST(KXMutex, reportsAThreadThatLocksItTwice) {
    const std::unique_ptr<KX::KXMutex> mutex(KX::KXMutex::create());
    ASSERT_TRUE(mutex->lock());
    testing::internal::CaptureStderr();
    EXPECT_FALSE(mutex->lock());
    const std::string report = testing::internal::GetCapturedStderr();
    EXPECT_NE(report.find("kx_mutex"), std::string::npos) << report;
    EXPECT_NE(report.find("an after-post hook must not hand input in"), std::string::npos) << report;
    mutex->unlock();
}

TEST(KXMutex, passesThePriorityOfAWaitingThreadOn) {
    struct Shared {
        std::unique_ptr<KX::KXMutex> mutex{KX::KXMutex::create()};
    } shared;
    ASSERT_NE(shared.mutex, nullptr);
    const std::unique_ptr<KX::KXThread> urgent(KX::KXThread::create("urgent"));
    ASSERT_NE(urgent, nullptr);
    urgent->setEntryFunction(
        [](void* argument) -> void* {
            const KX::KXAutoLock guard(static_cast<Shared*>(argument)->mutex.get());
            return nullptr;
        },
        &shared);

    ASSERT_TRUE(shared.mutex->lock());
    const unsigned int self = KX::KXThread::getCurrentThreadID();
    const int before = getPriority(self);
    if (urgent->start(10, 0) != 0) {
        shared.mutex->unlock();
        GTEST_SKIP() << "this user may not start threads of real-time priority";
    }
    const bool raised = waitUntil([&] { return getPriority(self) == -11; }, std::chrono::seconds(5));
    shared.mutex->unlock();
    EXPECT_EQ(urgent->stopAndWait(), 0);
    EXPECT_TRUE(raised) << "the holder kept priority " << before << " while a thread of real-time priority waited";
    EXPECT_EQ(getPriority(self), before);
}

} // namespace

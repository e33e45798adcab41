#include "platform/KXMutex.h"
#include "platform/KXThread.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <dlfcn.h>
#include <memory>
#include <pthread.h>
#include <string>

namespace {

/// The error that each call gives instead of doing its work; 0: it works.
struct Refusals {
    int mutexAttributes = 0;
    int priorityInheritance = 0;
    int threadAttributes = 0;
    int thread = 0;
    int join = 0;
} refusals;

/// Calls the system's own function.
template<typename... Parameters>
int callSystem(const char* name, Parameters... parameters) {
    using Function = int (*)(Parameters...);
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name))(parameters...);
}

} // namespace

// Replace functions of the system for the whole program, libraries included.

extern "C" KX_EXPORT int pthread_mutexattr_init(pthread_mutexattr_t* attributes) noexcept {
    return refusals.mutexAttributes ? refusals.mutexAttributes : callSystem("pthread_mutexattr_init", attributes);
}

extern "C" KX_EXPORT int pthread_mutexattr_setprotocol(pthread_mutexattr_t* attributes, int protocol) noexcept {
    if (refusals.priorityInheritance && protocol == PTHREAD_PRIO_INHERIT)
        return refusals.priorityInheritance;
    return callSystem("pthread_mutexattr_setprotocol", attributes, protocol);
}

extern "C" KX_EXPORT int pthread_attr_init(pthread_attr_t* attributes) noexcept {
    return refusals.threadAttributes ? refusals.threadAttributes : callSystem("pthread_attr_init", attributes);
}

extern "C" KX_EXPORT int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                        void* (*function)(void*), void* argument) noexcept {
    return refusals.thread ? refusals.thread
                           : callSystem("pthread_create", thread, attributes, function, argument);
}

extern "C" KX_EXPORT int pthread_join(pthread_t thread, void** result) {
    return refusals.join ? refusals.join : callSystem("pthread_join", thread, result);
}

namespace {

class SystemRefusesTest : public testing::Test {
protected:
    void TearDown() override { refusals = Refusals(); }

    static std::unique_ptr<KX::KXThread> makeThread() {
        std::unique_ptr<KX::KXThread> thread(KX::KXThread::create("worker"));
        thread->setEntryFunction([](void*) -> void* { return nullptr; }, nullptr);
        return thread;
    }

    /// \return what is told
    static std::string startInVain(KX::KXThread& thread) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(thread.start(0, 0), 20);
        return testing::internal::GetCapturedStderr();
    }

    static std::string refusal(const std::string& reason) {
        return "[kx_thread:1] thread \"worker\" is not started: " + reason + "\n";
    }

    static void expectRuns(KX::KXThread& thread) {
        EXPECT_EQ(thread.start(0, 0), 0);
        EXPECT_EQ(thread.stopAndWait(), 0);
    }
};

TEST_F(SystemRefusesTest, aMutexWithoutItsAttributesIsNull) {
    refusals.mutexAttributes = ENOMEM;
    EXPECT_EQ(std::unique_ptr<KX::KXMutex>(KX::KXMutex::create()), nullptr);
}

TEST_F(SystemRefusesTest, aMutexWorksOnASystemWithoutPriorityInheritance) {
    for (const int error : {ENOTSUP, ENOSYS}) {
        refusals.priorityInheritance = error;
        const std::unique_ptr<KX::KXMutex> mutex(KX::KXMutex::create());
        ASSERT_NE(mutex, nullptr);
        EXPECT_TRUE(mutex->lock());
        testing::internal::CaptureStderr();
        EXPECT_FALSE(mutex->lock()) << "it still knows who holds it";
        testing::internal::GetCapturedStderr();
        mutex->unlock();
        EXPECT_TRUE(mutex->lock());
        mutex->unlock();
    }
}

TEST_F(SystemRefusesTest, aMutexThatFailsOtherwiseIsNull) {
    refusals.priorityInheritance = EINVAL;
    EXPECT_EQ(std::unique_ptr<KX::KXMutex>(KX::KXMutex::create()), nullptr);
}

TEST_F(SystemRefusesTest, aThreadWithoutItsAttributesIsToldAndStartsLater) {
    const auto thread = makeThread();
    refusals.threadAttributes = ENOMEM;
    EXPECT_EQ(startInVain(*thread), refusal("Cannot allocate memory"));
    refusals = Refusals();
    expectRuns(*thread);
}

TEST_F(SystemRefusesTest, aThreadWithTheUsualStackIsToldAndStartsLater) {
    const auto thread = makeThread();
    refusals.thread = EAGAIN;
    EXPECT_EQ(startInVain(*thread), refusal("Resource temporarily unavailable"));
    EXPECT_EQ(thread->stopAndWait(), 0) << "there is nothing to wait for";
    refusals = Refusals();
    expectRuns(*thread);
}

TEST_F(SystemRefusesTest, aThreadWhoseEarlierRunWaitsForItsStarterIsTold) {
    const auto thread = makeThread();
    ASSERT_EQ(thread->start(0, 0), 0);
    refusals.join = EDEADLK;
    EXPECT_EQ(thread->stopAndWait(), 20);
    std::string told;
    EXPECT_TRUE(waitUntil([&] { return (told = startInVain(*thread)) != refusal("it runs already"); }));
    EXPECT_EQ(told, refusal("its earlier run waits for the thread that starts it"));
    refusals = Refusals();
    EXPECT_EQ(thread->stopAndWait(), 0);
    expectRuns(*thread);
}

} // namespace

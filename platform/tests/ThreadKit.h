#pragma once

#include "PlatformKit.h"
#include "platform/KXStatus.h"
#include "platform/KXThread.h"

#include <atomic>
#include <stdexcept>
#include <utility>

namespace KX::PlatformTests {

/// A thread of the platform with a function object as its body.
class BodyThread {
public:
    /// \throws std::runtime_error  the platform makes no thread: the test fails and says so
    explicit BodyThread(std::function<void()> bodyOfThread, const std::string& name = "platform_tests")
        : body(std::move(bodyOfThread)), thread(KXThread::create(name)) {
        if (!thread)
            throw std::runtime_error("KXThread::create returned null");
        thread->setEntryFunction(&BodyThread::run, this);
    }

    int start(int priority = 0, unsigned int stackSize = 0) { return thread->start(priority, stackSize); }

    int stopAndWait() { return thread->stopAndWait(); }

    KXThread& get() { return *thread; }

    /// As the owner of a thread may.
    void destroy() { thread.reset(); }

private:
    static void* run(void* self) {
        static_cast<BodyThread*>(self)->body();
        return nullptr;
    }

    std::function<void()> body;
    std::unique_ptr<KXThread> thread; // last: its destructor waits for the body
};

/// For a body: waits until another thread sets the flag.
inline void pauseUntil(const std::atomic<bool>& flag) {
    while (!flag)
        adapter().pauseThread(1);
}

} // namespace KX::PlatformTests

#include "PlatformKit.h"

#include <cstdio>
#include <cstdlib>

namespace KX::PlatformTests {

KXPlatformAdapter& adapter() {
    static const std::unique_ptr<KXPlatformAdapter> made = makePlatformAdapter();
    return *made;
}

namespace {

/// Ends the program when a test hangs, and names the test. A platform that blocks where it must not is a usual fault.
class HangWatch : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& test) override {
        isOver = false;
        const std::string name = std::string(test.test_suite_name()) + "." + test.name();
        const auto limit = std::chrono::milliseconds(3 * adapter().getPatienceMs());
        watch = std::thread([this, name, limit] {
            std::unique_lock<std::mutex> lock(mutex);
            if (!over.wait_for(lock, limit, [this] { return isOver; }))
                giveUp(name);
        });
    }

    void OnTestEnd(const testing::TestInfo&) override {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            isOver = true;
        }
        over.notify_all();
        watch.join();
    }

    [[noreturn]] static void giveUp(const std::string& test) {
        std::printf("[  FAILED  ] %s hangs: a call of the platform does not return, or a thread does not end\n",
                    test.c_str());
        std::fflush(stdout);
        std::_Exit(1); // the thread that hangs cannot be ended
    }

    std::mutex mutex;
    std::condition_variable over;
    bool isOver = false;
    std::thread watch;
};

/// GoogleTest owns the listener.
const bool isWatched = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new HangWatch);
    return true;
}();

} // namespace
} // namespace KX::PlatformTests

#pragma once

#include <future>
#include <thread>

namespace Bench {

/// A second thread, which sleeps. Every lock is cheaper in a process that has never had one, and no program is such a
/// process that has a queue between threads.
class OtherThread {
public:
    OtherThread() : thread([this] { end.get_future().wait(); }) {}

    ~OtherThread() {
        end.set_value();
        thread.join();
    }

    OtherThread(const OtherThread&) = delete;
    OtherThread& operator=(const OtherThread&) = delete;

private:
    std::promise<void> end;
    std::thread thread;
};

} // namespace Bench

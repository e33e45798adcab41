#include "support/Waiting.h"

#include <filesystem>
#include <iterator>
#include <sys/resource.h>
#include <thread>

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

long long getSteadyMs() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

int countOpenDescriptors() {
    // The listing itself has one open, in every call.
    const std::filesystem::directory_iterator listing("/proc/self/fd");
    return static_cast<int>(std::distance(begin(listing), end(listing)));
}

long long getThreadCpuMs() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    const auto toMs = [](const timeval& time) { return time.tv_sec * 1000LL + time.tv_usec / 1000; };
    return toMs(usage.ru_utime) + toMs(usage.ru_stime);
}

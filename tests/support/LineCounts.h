#pragma once

#ifdef KX_COUNTS_LINES
#include <csignal>

extern "C" void __gcov_dump();
#endif

// In the build for coverage, a process writes its counts when it exits. A child process that ends in another way
// calls one of these before. In other builds they do nothing.

namespace KX::test {

inline void writeLineCounts() {
#ifdef KX_COUNTS_LINES
    __gcov_dump();
#endif
}

/// For a process that std::abort will end.
inline void writeLineCountsWhenAborted() {
#ifdef KX_COUNTS_LINES
    std::signal(SIGABRT, [](int) { __gcov_dump(); });
#endif
}

} // namespace KX::test

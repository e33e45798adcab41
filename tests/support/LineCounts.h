#pragma once

#include <csignal>
#include <cstdlib>
#include <unistd.h>

// In the build for coverage, a process writes its counts when it exits. A child process of a test mostly ends in
// another way.

#ifdef KX_COUNTS_LINES
extern "C" void __gcov_dump();
#endif

namespace KX::test {

/// Ends the copy of a process that fork has made. What the process would do at its exit is left to the original.
[[noreturn]] inline void endCopy(int status) {
#ifdef KX_COUNTS_LINES
    std::exit(status); // each library writes its counts
#else
    _exit(status);
#endif
}

/// Before std::abort ends the process: writes the counts of the program itself, but not those of its libraries.
inline void writeLineCountsWhenAborted() {
#ifdef KX_COUNTS_LINES
    std::signal(SIGABRT, [](int) { __gcov_dump(); });
#endif
}

} // namespace KX::test

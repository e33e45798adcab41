// Each function of the system that a library imports is in the table of those that can fail, or in this list.

#include "tests/support/HeapCount.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <dlfcn.h>
#include <iterator>
#include <link.h>
#include <string>
#include <vector>

namespace KX::test {

namespace {

/// They fail for wrong arguments only, or not at all.
const std::string cannotFail[] = {
    "__assert_fail",
    "__cxa_thread_atexit",
    "__dynamic_cast",
    "__errno_location",
    "__libc_single_threaded",
    "__register_atfork", // when the library is loaded; the number of a thread is then not cached
    "__snprintf_chk",
    "__stack_chk_fail",
    "__sysconf",
    "__tls_get_addr",
    "__vsnprintf_chk",
    "abort",
    "clock_gettime",
    "fileno",
    "getenv",
    "geteuid",
    "getpid",
    "getrlimit64",
    "gettid",
    "memchr",
    "memcmp",
    "memcpy",
    "memmove",
    "memset",
    "pthread_attr_destroy",
    "pthread_attr_setinheritsched",
    "pthread_attr_setschedparam",
    "pthread_attr_setschedpolicy",
    "pthread_attr_setstacksize",
    "pthread_cond_clockwait",
    "pthread_cond_destroy",
    "pthread_cond_signal",
    "pthread_cond_wait",
    "pthread_condattr_destroy",
    "pthread_condattr_setclock",
    "pthread_mutex_destroy",
    "pthread_mutex_unlock",
    "pthread_mutexattr_destroy",
    "pthread_mutexattr_settype",
    "pthread_self",
    "pthread_setname_np",
    "pthread_sigmask",
    "qt_version_tag",
    "sched_get_priority_max",
    "sched_get_priority_min",
    "sigaddset",
    "sigemptyset",
    "sigismember",
    "sigpending",
    "snprintf",
    "strcmp",
    "strerror",
    "strerror_r",
    "strlen",
    "strncpy",
    "sysconf",
    "vsnprintf",
};

/// Names of C++ are allocations, which fail by operator new, or functions of the C++ library.
bool isOfLanguage(const std::string& name) {
    for (const char* const prefix : {"_Z", "_ITM_", "__cxa_", "__gxx_", "__gmon_start__", "_Unwind_"})
        if (name.compare(0, std::string(prefix).size(), prefix) == 0)
            return true;
    return false;
}

bool isReplacedHere(const std::string& name) {
    Dl_info found{};
    Dl_info program{};
    void* const function = dlsym(RTLD_DEFAULT, name.c_str());
    return function && dladdr(function, &found) != 0 &&
           dladdr(reinterpret_cast<const void*>(&isReplacedHere), &program) != 0 &&
           found.dli_fbase == program.dli_fbase;
}

int addLibrary(dl_phdr_info* info, std::size_t, void* libraries) {
    const std::string path = info->dlpi_name;
    if (path.find("/libKXAPI_") != std::string::npos)
        static_cast<std::vector<std::string>*>(libraries)->push_back(path);
    return 0;
}

std::vector<std::string> importsOf(const std::string& library) {
    std::vector<std::string> names;
    FILE* const output = popen(("nm -D --undefined-only --format=just-symbols '" + library + "'").c_str(), "r");
    char line[4096];
    while (std::fgets(line, sizeof(line), output)) {
        const std::string name = line;
        names.push_back(name.substr(0, name.find_first_of("@\n")));
    }
    EXPECT_EQ(pclose(output), 0);
    return names;
}

TEST(Imports, of_the_libraries_can_fail_here_or_cannot_fail) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer adds imports of its own";
#endif
    std::vector<std::string> libraries;
    dl_iterate_phdr(&addLibrary, &libraries);
    EXPECT_EQ(libraries.size(), 6U) << "with toolkit and recording, on Linux";
    for (const std::string& library : libraries) {
        const std::vector<std::string> imports = importsOf(library);
        EXPECT_GT(imports.size(), 5U) << library;
        for (const std::string& name : imports)
            if (!isOfLanguage(name) &&
                std::find(std::begin(cannotFail), std::end(cannotFail), name) == std::end(cannotFail))
                EXPECT_TRUE(isReplacedHere(name))
                    << library << " imports " << name << ": add it to the table in SystemCalls.cpp";
    }
}

} // namespace

} // namespace KX::test

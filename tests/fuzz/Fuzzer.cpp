// Random input, made by libFuzzer, for the check that the environment variable KX_FUZZER names.

#include "Targets.h"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const char* const name = std::getenv("KX_FUZZER");
    const std::string problem = Fuzz::problemOf(name ? name : "", std::string(data, data + size));
    if (!problem.empty()) {
        std::fprintf(stderr, "%s\n", problem.c_str());
        std::abort(); // so that libFuzzer keeps the input
    }
    return 0;
}

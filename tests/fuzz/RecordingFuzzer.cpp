// Random files, made by libFuzzer.

#include "RecordingTarget.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string problem = KX::Recording::test::problemWith(std::string(data, data + size));
    if (!problem.empty()) {
        std::fprintf(stderr, "%s\n", problem.c_str());
        std::abort(); // so that libFuzzer keeps the file
    }
    return 0;
}

#include "bench/growth/Heap.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <malloc.h>

namespace Bench {

std::size_t getHeapBytes() {
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

void beginHeap() {
    void* const more = std::malloc(4096); // than is kept at hand when it is freed
    benchmark::DoNotOptimize(more);
    std::free(more);
}

} // namespace Bench

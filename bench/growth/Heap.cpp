#include "bench/growth/Heap.h"

#include <malloc.h>

namespace Bench {

std::size_t getHeapBytes() {
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

} // namespace Bench

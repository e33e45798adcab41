#pragma once

#include <cstddef>
#include <cstdlib>
#include <malloc.h>
#include <thread>

namespace Bench {

/// Bytes of the heap that are in use.
inline std::size_t getHeapBytes() {
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

/// Calls \p work with the bytes that are in use before it, on a new thread, which has no freed memory at hand.
template<class Work>
void runOnFreshHeap(Work work) {
    std::thread thread([&work] {
        // The allocator's tables for this thread come with the first piece that is too large to be kept at hand.
        void* volatile first = std::malloc(4096);
        std::free(first);
        work(getHeapBytes());
    });
    thread.join();
}

} // namespace Bench

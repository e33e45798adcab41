#pragma once

#include <cstddef>
#include <thread>

namespace Bench {

/// Bytes of the heap that are in use.
std::size_t getHeapBytes();

/// Lets the calling thread have what it gets with its first piece of memory: the allocator's own tables.
void beginHeap();

/// Calls \p work in a thread of its own, where no memory is kept at hand that was freed before, and hands it the
/// bytes that were in use when it began.
template<class Work>
void runOnFreshHeap(Work work) {
    std::thread thread([&work] {
        beginHeap();
        work(getHeapBytes());
    });
    thread.join();
}

} // namespace Bench

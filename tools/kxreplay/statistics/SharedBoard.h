#pragma once

#include <atomic>
#include <cstddef>
#include <new>
#include <sys/mman.h>

namespace Replay {

/// What a process and its workers share: which recording is the next, and which one each worker plays.
class SharedBoard {
public:
    explicit SharedBoard(std::size_t workers) : bytes((workers + 1) * sizeof(Number)) {
        void* const memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            throw std::bad_alloc();
        next = static_cast<Number*>(memory);
        for (std::size_t index = 0; index <= workers; ++index)
            new (next + index) Number(0);
    }
    ~SharedBoard() { munmap(next, bytes); }

    SharedBoard(const SharedBoard&) = delete;
    SharedBoard& operator=(const SharedBoard&) = delete;

    /// Takes the next recording for a worker.
    std::size_t take(std::size_t worker) {
        const std::size_t index = (*next)++;
        next[1 + worker] = index;
        return index;
    }

    std::size_t takenBy(std::size_t worker) const { return next[1 + worker]; }

private:
    using Number = std::atomic<std::size_t>;
    static_assert(Number::is_always_lock_free, "only such an atomic works across processes");

    const std::size_t bytes;
    Number* next = nullptr; // recording; behind it stands that of each worker
};

} // namespace Replay

#include "platform/KXDebug.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> allocations{0};

} // namespace

void* operator new(std::size_t size) {
    ++allocations;
    void* const memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

class KXDebugCost : public testing::Test {
protected:
    /// A long one, so that building it would need memory.
    static void print(int level) {
        KX::KXDebug::debugPrintError(level, key, "%2000d", 1);
    }

    static const unsigned int key;
};

const unsigned int KXDebugCost::key = KX::KXDebug::insertNewDebugSection("cost");

TEST_F(KXDebugCost, aMessageThatIsOffAllocatesNothing) {
    const long before = allocations;
    for (int i = 0; i < 1000; ++i) {
        print(4);
        print(2);
    }
    EXPECT_EQ(allocations, before);
}

TEST_F(KXDebugCost, aLongMessageThatIsOnIsCountedByTheSameMeans) {
    testing::internal::CaptureStderr();
    const long before = allocations;
    print(1);
    const long after = allocations;
    EXPECT_GT(testing::internal::GetCapturedStderr().size(), 2000u);
    EXPECT_GT(after, before) << "the replaced allocator does not see the library's allocations";
}

/// A format that writes through its argument tells whether it was looked at.
TEST_F(KXDebugCost, aMessageThatIsOffIsNotFormatted) {
    int written = -1;
    KX::KXDebug::debugPrintError(4, key, "12345%n", &written);
    EXPECT_EQ(written, -1);
}

} // namespace

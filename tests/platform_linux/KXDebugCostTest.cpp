#include "platform/KXDebug.h"

#include "tests/support/HeapCount.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class KXDebugCost : public testing::Test {
protected:
    /// Prints a long message, which takes memory to build.
    static void print(int level) { KX::KXDebug::debugPrintError(level, key, "%2000d", 1); }

    static const unsigned int key;
};

const unsigned int KXDebugCost::key = KX::KXDebug::insertNewDebugSection("cost");

TEST_F(KXDebugCost, aMessageThatIsOffAllocatesNothing) {
    const unsigned long before = KX::test::heapAllocations;
    for (int i = 0; i < 1000; ++i) {
        print(4);
        print(2);
    }
    EXPECT_EQ(KX::test::heapAllocations, before);
}

TEST_F(KXDebugCost, aLongMessageThatIsOnIsCountedByTheSameMeans) {
    testing::internal::CaptureStderr();
    const unsigned long before = KX::test::heapAllocations;
    print(1);
    const unsigned long after = KX::test::heapAllocations;
    EXPECT_GT(testing::internal::GetCapturedStderr().size(), 2000u);
    EXPECT_GT(after, before) << "the replaced allocator does not see the library's allocations";
}

TEST_F(KXDebugCost, aShortMessageThatIsOnAllocatesNothing) {
    testing::internal::CaptureStderr();
    const unsigned long before = KX::test::heapAllocations;
    KX::KXDebug::debugPrintError(1, key, "%d", 1);
    const unsigned long after = KX::test::heapAllocations;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[cost:1] 1\n");
    EXPECT_EQ(after, before);
}

TEST_F(KXDebugCost, aLongMessageThatThereIsNoMemoryForShowsItsBeginning) {
    const std::string prefix = "[cost:1] ";
    for (const std::size_t length : {510u, 511u, 512u, 9000u}) {
        const std::string text(length - prefix.size(), 'x');
        testing::internal::CaptureStderr();
        {
            const KX::test::NoMoreMemory limit;
            KX::KXDebug::debugPrintError(1, key, "%s", text.c_str());
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(), (prefix + text).substr(0, 511) + "\n");
    }
}

/// \c %n writes when the format is used.
TEST_F(KXDebugCost, aMessageThatIsOffIsNotFormatted) {
    int written = -1;
    KX::KXDebug::debugPrintError(4, key, "12345%n", &written);
    EXPECT_EQ(written, -1);
}

} // namespace

#include "PlatformKit.h"
#include "platform/KXString.h"

#include <climits>

namespace KX::PlatformTests {

using String = PlatformTest;

TEST_F(String, isTheDecimalNumberAndNothingElse) {
    EXPECT_EQ(toString(0), "0");
    EXPECT_EQ(toString(7), "7");
    EXPECT_EQ(toString(-1), "-1");
    EXPECT_EQ(toString(1000000), "1000000");
}

TEST_F(String, reachesTheEndsOfTheRange) {
    EXPECT_EQ(toString(INT_MAX - 1), "2147483646");
    EXPECT_EQ(toString(INT_MAX), "2147483647");
    EXPECT_EQ(toString(INT_MIN), "-2147483648");
    EXPECT_EQ(toString(INT_MIN + 1), "-2147483647");
}

} // namespace KX::PlatformTests

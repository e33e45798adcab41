#include "events/KXVersion.h"

#include <gtest/gtest.h>

#include <string>

namespace KX {
namespace {

TEST(Version, the_library_tells_the_version_that_it_was_compiled_with) {
    EXPECT_EQ(getLibraryVersion(), KXAPI_EVENTS_VERSION);
}

TEST(Version, text_and_number_are_those_of_the_build) {
    EXPECT_STREQ(KXAPI_EVENTS_VERSION_STRING, KX_VERSION_OF_BUILD);
    const int major = KXAPI_EVENTS_VERSION / 1000000;
    const int minor = KXAPI_EVENTS_VERSION / 1000 % 1000;
    const int patch = KXAPI_EVENTS_VERSION % 1000;
    EXPECT_EQ(std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch),
              KX_VERSION_OF_BUILD);
}

TEST(Version, numbers_are_in_the_order_of_versions) {
    EXPECT_LT(KXAPI_EVENTS_VERSION_OF(1, 0, 999), KXAPI_EVENTS_VERSION_OF(1, 1, 0));
    EXPECT_LT(KXAPI_EVENTS_VERSION_OF(1, 999, 999), KXAPI_EVENTS_VERSION_OF(2, 0, 0));
    EXPECT_LT(KXAPI_EVENTS_VERSION_OF(1, 9, 0), KXAPI_EVENTS_VERSION_OF(1, 10, 0));
}

TEST(Version, the_preprocessor_compares_it) {
#if KXAPI_EVENTS_VERSION >= KXAPI_EVENTS_VERSION_OF(1, 0, 0) &&                                                   \
    KXAPI_EVENTS_VERSION < KXAPI_EVENTS_VERSION_OF(999, 0, 0)
    SUCCEED();
#else
    FAIL();
#endif
}

} // namespace
} // namespace KX

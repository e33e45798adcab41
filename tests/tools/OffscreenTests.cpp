// One application without a display for all tests of the program, because Qt allows only one.

#include "tests/support/OffscreenKeys.h"

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new KX::test::OffscreenApplication);

} // namespace

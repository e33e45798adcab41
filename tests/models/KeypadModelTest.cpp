#include "KeypadRun.h"

namespace KX::test {
namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new OffscreenApplication);

TEST(KeypadModel, agreesOnManyRandomFramesAfterEachOne) {
    std::int64_t lastPosition = 0; // at the start of the process
    KeypadAccount account;
    for (const std::uint32_t seed : seedsOfRun()) {
        KeypadRun run(seed, lastPosition, account);
        std::string operation;
        for (std::uint32_t step = 0; step < stepsOfSeed(); ++step) {
            const std::string complaint = run.step(operation);
            ASSERT_TRUE(complaint.empty()) << whereabouts(seed, step, operation) << complaint;
        }
    }
    if (isFullRun()) {
        EXPECT_GT(account.turns, 10000U) << "the encoder hardly turned";
        EXPECT_GT(account.wraps, 2000U) << "the encoder hardly wrapped";
        EXPECT_GT(account.keyChanges, 20000U) << "keys hardly changed";
        EXPECT_GT(account.secondLayouts, 500U) << "hardly a layout followed another";
        EXPECT_GT(account.overBus, 1000U) << "hardly a frame came over the bus";
    }
}

} // namespace
} // namespace KX::test

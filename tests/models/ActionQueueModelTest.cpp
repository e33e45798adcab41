#include "ActionRun.h"

#include <gtest/gtest.h>

namespace KX::test {
namespace {

TEST(ActionQueueModel, agreesOnManyRandomProgramsAfterEachCall) {
    KXSimulation::reset();
    beTheExecutingThread();
    ActionAccount account;
    for (const std::uint32_t seed : seedsOfRun()) {
        Random random(seed);
        for (std::uint32_t number = 0; number < stepsOfSeed() / 5 + 1; ++number) {
            const ActionProgram program = RandomProgram(random).make();
            const std::string complaint = ProgramRun(program, account).play();
            ASSERT_TRUE(complaint.empty()) << whereabouts(seed, number, "program") << complaint;
        }
    }
    if (isFullRun()) {
        EXPECT_GT(account.programs, 20000U);
        EXPECT_GT(account.refusals, 10000U) << "hardly any loops";
        EXPECT_GT(account.deadlines, 1000U) << "hardly any drain was cut short";
        EXPECT_GT(account.resumed, 1000U) << "hardly any drain was resumed with its history";
        EXPECT_GT(account.failures, 500U) << "hardly any action failed";
        EXPECT_GT(account.foreignPosts, 500U) << "other threads hardly posted";
        EXPECT_GT(account.foreignDrains, 100U) << "other threads hardly drained";
        EXPECT_GT(account.leftBehind, 500U) << "hardly anything was left at the release";
    }
}

} // namespace
} // namespace KX::test

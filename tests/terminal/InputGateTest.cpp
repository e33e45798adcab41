#include "terminal/InputGate.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <optional>
#include <thread>

using namespace Terminal;

namespace {

using namespace std::chrono_literals;

// Long enough for a thread that can go on. For a blocked thread the length does not matter.
constexpr auto moment = 50ms;
constexpr auto longEnough = 60s;

std::future<void> passElsewhere(InputGate& gate) {
    return std::async(
        std::launch::async,
        [&gate] {
            gate.beginPass();
            gate.endPass();
        });
}

} // namespace

TEST(InputGateTest, APassWaitsWhileTheGateIsHeld) {
    InputGate gate;
    std::optional<InputGate::Hold> hold(std::in_place, gate);
    const std::future<void> pass = passElsewhere(gate);
    EXPECT_EQ(std::future_status::timeout, pass.wait_for(moment));
    hold.reset();
    EXPECT_EQ(std::future_status::ready, pass.wait_for(longEnough));
}

TEST(InputGateTest, APassWaitsForTheLastOfSeveralHolds) {
    InputGate gate;
    std::optional<InputGate::Hold> outer(std::in_place, gate);
    std::optional<InputGate::Hold> inner(std::in_place, gate);
    const std::future<void> pass = passElsewhere(gate);
    outer.reset();
    EXPECT_EQ(std::future_status::timeout, pass.wait_for(moment));
    inner.reset();
    EXPECT_EQ(std::future_status::ready, pass.wait_for(longEnough));
}

TEST(InputGateTest, AHoldWaitsForThePassToEnd) {
    InputGate gate;
    gate.beginPass();
    const std::future<void> hold = std::async(std::launch::async, [&gate] { const InputGate::Hold held(gate); });
    EXPECT_EQ(std::future_status::timeout, hold.wait_for(moment));
    gate.endPass();
    EXPECT_EQ(std::future_status::ready, hold.wait_for(longEnough));
}

TEST(InputGateTest, WithoutAPassAHoldDoesNotWait) {
    InputGate gate;
    gate.endPass(); // ends a pass that never began, as the worker's first wait does
    const InputGate::Hold hold(gate);
    const InputGate::Hold another(gate);
}

TEST(InputGateTest, PassesAndHoldsExcludeEachOtherAndAllGetTheirTurn) {
    constexpr int rounds = 100000;
    InputGate gate;
    // Neither atomic nor locked: the gate must protect it.
    int inside = 0;
    int collisions = 0;
    int turns = 0;
    const auto enter = [&] {
        collisions += inside++;
        if (++turns % 16 == 0)
            std::this_thread::yield(); // lets the other thread reach the gate
        --inside;
    };
    std::thread worker([&] {
        for (int i = 0; i < rounds; ++i) {
            gate.beginPass();
            enter();
            gate.endPass();
        }
    });
    for (int i = 0; i < rounds; ++i) {
        const InputGate::Hold hold(gate);
        enter();
    }
    worker.join();
    EXPECT_EQ(0, collisions);
    EXPECT_EQ(2 * rounds, turns);
}

TEST(InputGateTest, TurnAboutNobodyIsForgotten) {
    constexpr int rounds = 500;
    InputGate gate;
    int turn = 0; // read only inside the gate
    const auto takeTurn = [&turn](int whose) {
        const bool isMine = turn % 2 == whose;
        turn += isMine ? 1 : 0;
        return isMine ? 1 : 0;
    };
    // Each thread returns until it is its turn. A lost wake-up would stop both.
    std::thread worker([&] {
        for (int done = 0; done < rounds; std::this_thread::yield()) {
            gate.beginPass();
            done += takeTurn(0);
            gate.endPass();
        }
    });
    for (int done = 0; done < rounds; std::this_thread::yield()) {
        const InputGate::Hold hold(gate);
        done += takeTurn(1);
    }
    worker.join();
    EXPECT_EQ(2 * rounds, turn);
}

#pragma once

#include "support/EventSamples.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace KX::test {

/// A number of the encoder: computed in 64 bits, cut to 32. Factors have at most 32 bits, so one product fits. The
/// next multiplication cuts it first.
inline std::uint64_t cut(std::uint64_t number) {
    return number % 0x100000000ULL;
}

/// The encoder's acceleration in 64 bits, with every cut to 32 bits explicit.
struct EncoderModel {
    using Table = std::vector<std::pair<unsigned int, unsigned int>>; // time gap, increment

    // The state before initialize.
    std::uint64_t userFactor = 1000;
    std::uint64_t lowPassFactor = 500;
    std::uint64_t timeGap = 100;
    std::uint64_t increment = 1;
    std::uint64_t maxTimeGap = 10;
    std::uint64_t lastTimeStamp = 0;
    Table table = Table(10, {0, 0});

    void initialize() {
        userFactor = 1000;
        lowPassFactor = 900;
        timeGap = 200;
        increment = 1;
        maxTimeGap = 200;
        lastTimeStamp = 0;
        table = {{2, 4096}, {8, 1024}, {12, 256}, {20, 64}, {35, 16}, {55, 4}, {100, 1}};
    }

    static EncoderModel initialized() {
        EncoderModel model;
        model.initialize();
        return model;
    }

    int setTable(const Table& wanted) {
        maxTimeGap = 500;
        for (std::size_t i = 1; i < wanted.size(); ++i)
            if (wanted[i].first <= wanted[i - 1].first)
                return 3;
        if (wanted.size() >= 2)
            maxTimeGap = cut(2 * std::uint64_t{wanted.back().first});
        table = wanted;
        return 0;
    }

    int setLowPassFactor(int factor) {
        if (factor < 1 || factor > 1000)
            return 24;
        lowPassFactor = static_cast<std::uint64_t>(factor);
        return 0;
    }

    int setUserFactor(int factor) {
        if (factor <= 0)
            return 24;
        userFactor = static_cast<std::uint64_t>(factor);
        return 0;
    }

    /// The increment of the first row with a longer gap than the present one.
    std::uint64_t target() const {
        for (const auto& [rowGap, rowIncrement] : table)
            if (rowGap > timeGap)
                return rowIncrement;
        return 1;
    }

    /// \p step and \p bundle may be the same.
    int calculate(Fields& step, Fields& bundle) {
        if (step.eventType != 700)
            return 29;
        if (lastTimeStamp >= step.timeStamp) {
            lastTimeStamp = step.timeStamp;
            return 1;
        }
        if (step.count == 0)
            step.count = 1;
        const std::uint64_t n = static_cast<std::uint32_t>(step.count);
        const std::uint64_t gap = (step.timeStamp - lastTimeStamp) / n;

        if (gap <= maxTimeGap) {
            timeGap = cut(500 * cut(gap + timeGap)) / 1000;
        } else {
            timeGap = cut(1000 * maxTimeGap) / 1000;
            increment = 1;
        }

        const std::uint64_t kept = cut(increment * (1000 - lowPassFactor));
        const std::uint64_t added = cut(cut(target() * n) * lowPassFactor);
        const std::uint64_t smoothed = cut(kept + added) / 1000;
        increment = cut(userFactor * smoothed) / 1000;
        if (increment == 0)
            increment = 1;

        bundle.value = static_cast<int>(cut(static_cast<std::uint32_t>(bundle.value) + increment));
        lastTimeStamp = step.timeStamp;
        return 0;
    }
};

} // namespace KX::test

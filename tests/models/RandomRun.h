#pragma once

#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace KX::test {

/// A seed gives the same numbers on every machine, which the standard's distributions do not guarantee. The bytes of a
/// fuzzer are numbers, too.
class Random {
public:
    explicit Random(std::uint32_t seed) : generator(seed) {}

    /// Each number takes a byte, and a large one four more. When no byte is left, all are 0.
    explicit Random(std::string_view theBytes) : bytes(theBytes), isFromBytes(true) {}

    bool isAtEnd() const { return isFromBytes && bytes.empty(); }

    std::uint32_t word() {
        if (!isFromBytes)
            return static_cast<std::uint32_t>(generator());
        constexpr std::uint32_t large = 0xFF;
        const std::uint32_t first = takeByte();
        if (first < large)
            return first;
        std::uint32_t number = 0;
        for (int i = 0; i < 4; ++i)
            number = number << 8U | takeByte();
        return number;
    }

    /// 0 to \p limit - 1.
    std::uint32_t below(std::uint32_t limit) { return word() % limit; }

    int between(int low, int high) {
        return low + static_cast<int>(below(static_cast<std::uint32_t>(high - low) + 1));
    }

    bool oneIn(std::uint32_t times) { return below(times) == 0; }

    template<class Value>
    Value oneOf(std::initializer_list<Value> values) {
        return values.begin()[below(static_cast<std::uint32_t>(values.size()))];
    }

    template<class Value>
    Value oneOf(const std::vector<Value>& values) {
        return values[below(static_cast<std::uint32_t>(values.size()))];
    }

    int anyInt() { return static_cast<int>(word()); }

    /// Mostly small numbers, now and then one at an end of the range, or any.
    int oddInt() {
        if (oneIn(4))
            return oneOf({std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), -1, anyInt()});
        return between(-3, 12);
    }

private:
    std::uint32_t takeByte() {
        if (bytes.empty())
            return 0;
        const auto byte = static_cast<unsigned char>(bytes.front());
        bytes.remove_prefix(1);
        return byte;
    }

    std::mt19937 generator; // its numbers are fixed by the standard
    std::string_view bytes;
    bool isFromBytes = false;
};

inline std::uint32_t numberFromEnvironment(const char* name, std::uint32_t otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr && *text != '\0' ? static_cast<std::uint32_t>(std::strtoul(text, nullptr, 0))
                                            : otherwise;
}

/// The seeds of a run; only KX_TEST_SEED if it is set, to repeat a failure.
inline std::vector<std::uint32_t> seedsOfRun() {
    if (std::getenv("KX_TEST_SEED") != nullptr)
        return {numberFromEnvironment("KX_TEST_SEED", 0)};
    return {1, 20260, 0xC0FFEE};
}

/// Steps of all seeds together; KX_TEST_STEPS reduces them for slow machines.
constexpr std::uint32_t fullSteps = 120000;

inline std::uint32_t stepsOfRun() {
    return numberFromEnvironment("KX_TEST_STEPS", fullSteps);
}

inline std::uint32_t stepsOfSeed() {
    return stepsOfRun() / static_cast<std::uint32_t>(seedsOfRun().size()) + 1;
}

/// Whether the run is long enough for rare events.
inline bool isFullRun() {
    return stepsOfRun() >= fullSteps;
}

/// The present seed and step; the start of every complaint.
inline std::string whereabouts(std::uint32_t seed, std::uint32_t step, const std::string& operation) {
    return "KX_TEST_SEED=" + std::to_string(seed) + ", step " + std::to_string(step) + ", " + operation + ": ";
}

} // namespace KX::test

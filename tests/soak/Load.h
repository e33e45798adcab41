#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace KX::test {

/// One way through the library under full load. Everything that is given is numbered, and counted where it comes out.
class Load {
public:
    explicit Load(std::string newName) : name(std::move(newName)) {}

    virtual ~Load() = default;

    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

    /// Begins on threads of its own.
    virtual void start() = 0;

    /// Ends giving and returns when the threads have ended. What was given is taken meanwhile.
    virtual void stop() = 0;

    const std::string name;
    std::atomic<std::uint64_t> given{0};
    std::atomic<std::uint64_t> taken{0};
    std::atomic<std::uint64_t> wrong{0}; ///< not the next one of its giver
};

} // namespace KX::test

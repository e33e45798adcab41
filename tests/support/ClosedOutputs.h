#pragma once

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace KX::test {

/// Standard output and standard error are closed, for a scope. What fails meanwhile is not printed.
class ClosedOutputs {
public:
    ClosedOutputs() {
        std::fflush(nullptr);
        for (int output : {STDOUT_FILENO, STDERR_FILENO}) {
            saved[static_cast<unsigned int>(output) - 1] = fcntl(output, F_DUPFD_CLOEXEC, 100);
            close(output);
        }
    }

    ~ClosedOutputs() {
        for (int output : {STDOUT_FILENO, STDERR_FILENO}) {
            const int copy = saved[static_cast<unsigned int>(output) - 1];
            if (copy < 0)
                continue;
            dup2(copy, output);
            close(copy);
        }
    }

    ClosedOutputs(const ClosedOutputs&) = delete;
    ClosedOutputs& operator=(const ClosedOutputs&) = delete;

    /// Whether nothing has taken one of the two numbers.
    static bool areFree() { return fcntl(STDOUT_FILENO, F_GETFD) < 0 && fcntl(STDERR_FILENO, F_GETFD) < 0; }

private:
    std::array<int, 2> saved{};
};

} // namespace KX::test

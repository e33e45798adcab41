#pragma once

#include "tests/faults/Operation.h"

#include "platform/KXPipe.h"
#include "platform/KXStatus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace KX::test {

/// Descriptors that this process has open.
int countDescriptors();

/// Bytes go through the pipe as usual.
void expectCarries(KXPipe& pipe);

/// A folder of its own, with a virtual bus as CAN bus 0, until the end of the scope.
class Folder {
public:
    Folder();
    ~Folder();

    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::string path; ///< with a slash at its end
    const std::string bus;
};

/// Sends a frame to a virtual bus, as another program does. \return whether the bus took it
bool sendFrame(const std::string& bus, unsigned int id, unsigned char data = 0);

/// Keeps lines of std::cout away, for a scope.
class QuietOutput {
public:
    QuietOutput();
    ~QuietOutput();

    QuietOutput(const QuietOutput&) = delete;
    QuietOutput& operator=(const QuietOutput&) = delete;

private:
    std::streambuf* const before;
};

} // namespace KX::test

#include "CANProgram.h"

#include <gtest/gtest.h>

#include <linux/can.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

const int longForAnyMachineMs = 20000;

} // namespace

BusSocket::BusSocket(const std::string& path) : descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    EXPECT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
}

BusSocket::~BusSocket() {
    close(descriptor);
}

ssize_t BusSocket::receive(can_frame& frame) const {
    pollfd waiting{descriptor, POLLIN, 0};
    return poll(&waiting, 1, longForAnyMachineMs) == 1
               ? recv(descriptor, &frame, sizeof(frame), MSG_TRUNC | MSG_DONTWAIT)
               : -1;
}

bool BusSocket::isEmpty() const {
    pollfd waiting{descriptor, POLLIN, 0};
    return poll(&waiting, 1, 0) == 0;
}

CANProgram::CANProgram(const TestFolder& testFolder, const std::vector<std::string>& arguments,
                       const std::string& input)
    : ToolProgram(KXCAN, testFolder, arguments, input) {}

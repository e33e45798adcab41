#include "support/BusFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <linux/can.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

std::string makeFolder() {
    char name[] = "/tmp/kx_can_XXXXXX";
    return mkdtemp(name);
}

} // namespace

sockaddr_un makeAddress(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
}

BusFolder::BusFolder() : folder(makeFolder()), path(folder + "/bus") {
    setenv("KX_CAN_BUS_0", ("unix:" + path).c_str(), 1);
}

BusFolder::~BusFolder() {
    unsetenv("KX_CAN_BUS_0");
    std::filesystem::remove_all(folder);
}

int bindSocket(const std::string& path, int type) {
    const int descriptor = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    const sockaddr_un address = makeAddress(path);
    EXPECT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    return descriptor;
}

bool sendFrame(const std::string& path, unsigned int id) {
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = makeAddress(path);
    can_frame frame{};
    frame.can_id = id;
    const ssize_t sent = sendto(descriptor, &frame, sizeof(frame), MSG_DONTWAIT,
                                reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    close(descriptor);
    return sent == static_cast<ssize_t>(sizeof(frame));
}

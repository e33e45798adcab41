#include "tests/faults/Support.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <linux/can.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace KX::test {

namespace {

// In memory where there is such a place: a disk takes milliseconds for each of thousands of files.
std::string makeFolder() {
    const char* const parent = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
    std::string name = std::string(parent) + "/kx_faults_XXXXXX";
    return std::string(mkdtemp(name.data())) + "/";
}

} // namespace

int countDescriptors() {
    const std::filesystem::directory_iterator listing("/proc/self/fd");
    return static_cast<int>(std::distance(begin(listing), end(listing)));
}

void expectCarries(KXPipe& pipe) {
    char text[] = "bytes";
    EXPECT_EQ(pipe.writeIntoPipe(text, sizeof(text)), STATUS_OK);
    char taken[sizeof(text)] = {};
    EXPECT_EQ(pipe.readFromPipe(taken, sizeof(taken)), STATUS_OK);
    EXPECT_STREQ(taken, text);
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
}

Folder::Folder() : path(makeFolder()), bus(path + "bus") {
    setenv("KX_CAN_BUS_0", ("unix:" + bus).c_str(), 1);
}

Folder::~Folder() {
    unsetenv("KX_CAN_BUS_0");
    std::filesystem::remove_all(path);
}

bool sendFrame(const std::string& bus, unsigned int id, unsigned char data) {
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    bus.copy(address.sun_path, sizeof(address.sun_path) - 1);
    can_frame frame{};
    frame.can_id = id;
    frame.can_dlc = 8;
    frame.data[0] = data;
    const ssize_t sent = sendto(descriptor, &frame, sizeof(frame), MSG_DONTWAIT,
                                reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    close(descriptor);
    return sent == static_cast<ssize_t>(sizeof(frame));
}

QuietOutput::QuietOutput() : before(std::cout.rdbuf(nullptr)) {}

QuietOutput::~QuietOutput() {
    std::cout.rdbuf(before);
}

} // namespace KX::test

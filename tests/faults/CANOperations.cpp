// The CAN bus of the Linux platform, as a virtual bus.

#include "tests/faults/Support.h"

#include "platform/KXCANMessage.h"
#include "platform/KXCANRaw.h"

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace KX::test {

namespace {

using testing::AnyOf;
using testing::HasSubstr;

std::unique_ptr<KXCANRaw> open(Fault& fault) {
    return std::unique_ptr<KXCANRaw>(fault.during([] { return KXCANRaw::create(0, 0, 0); }));
}

void expectReads(KXCANRaw& bus, const Folder& folder) {
    EXPECT_TRUE(bus.isConnected());
    EXPECT_TRUE(sendFrame(folder.bus, 0x123));
    KXCANMessage message;
    EXPECT_EQ(bus.readFrame(message), STATUS_OK);
    EXPECT_EQ(message.canId, 0x123U);
    EXPECT_EQ(bus.readFrame(message), STATUS_REFUSED) << "it came twice";
}

/// Null with a line, and nothing is left; or a closed bus with a line, which opens later; or an open one.
void expectOpening(Fault& fault, const Folder& folder) {
    std::unique_ptr<KXCANRaw> bus = open(fault);
    if (!bus || !bus->isConnected()) {
        EXPECT_TRUE(fault.hasHappened());
        EXPECT_THAT(fault.getLines(), HasSubstr("[kx_can_raw:1] bus 0: "));
    }
    if (!bus)
        bus.reset(KXCANRaw::create(0, 0, 0));
    if (!bus->isConnected())
        EXPECT_EQ(bus->reconnect(), STATUS_OK);
    expectReads(*bus, folder);
    bus.reset();
    EXPECT_FALSE(std::filesystem::exists(folder.bus));
}

/// A file that a process left behind.
void leaveFile(const std::string& path) {
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    EXPECT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    close(descriptor);
}

const Operation canOperations[] = {
    {"KXCANRaw", "create", "null, or closed until a reconnect, with a line",
     [](Fault& fault) {
         const Folder folder;
         expectOpening(fault, folder);
     }},

    {"KXCANRaw", "create_where_a_file_was_left", "null, or closed until a reconnect, with a line",
     [](Fault& fault) {
         const Folder folder;
         leaveFile(folder.bus);
         expectOpening(fault, folder);
     }},

    {"KXCANRaw", "create_at_a_relative_path", "null, or closed until a reconnect, with a line",
     [](Fault& fault) {
         const Folder folder;
         const std::filesystem::path before = std::filesystem::current_path();
         std::filesystem::current_path(folder.path);
         setenv("KX_CAN_BUS_0", "unix:bus", 1);
         expectOpening(fault, folder);
         std::filesystem::current_path(before);
     }},

    {"KXCANRaw", "create_of_an_interface_that_is_missing", "null with a line",
     [](Fault& fault) {
         setenv("KX_CAN_BUS_0", "no_such_bus", 1);
         EXPECT_EQ(open(fault), nullptr);
         if (!fault.isOf("write")) // of that line
             EXPECT_THAT(fault.getLines(), HasSubstr("[kx_can_raw:1] bus 0: "));
         unsetenv("KX_CAN_BUS_0");
     }},

    {"KXCANRaw", "reconnect", "refused and closed; a later call opens it",
     [](Fault& fault) {
         const Folder folder;
         const std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 0, 0));
         const int status = fault.during([&] { return bus->reconnect(); });
         EXPECT_THAT(status, AnyOf(STATUS_OK, STATUS_REFUSED));
         EXPECT_EQ(bus->isConnected(), status == STATUS_OK);
         if (status != STATUS_OK)
             EXPECT_EQ(bus->reconnect(), STATUS_OK);
         expectReads(*bus, folder);
     }},

    {"KXCANRaw", "readFrame", "refused and the message untouched; a later call, or one after a reconnect, reads",
     [](Fault& fault) {
         const Folder folder;
         const std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 0, 0));
         EXPECT_TRUE(sendFrame(folder.bus, 0x99));
         KXCANMessage message;
         const int status = fault.during([&] { return bus->readFrame(message); });
         EXPECT_EQ(message.canId, status == STATUS_OK ? 0x99U : 0U);
         if (!bus->isConnected()) { // what was not read is lost with the socket
             EXPECT_THAT(fault.getLines(), HasSubstr("[kx_can_raw:1] bus 0: "));
             EXPECT_EQ(bus->reconnect(), STATUS_OK);
         } else if (status != STATUS_OK) {
             EXPECT_EQ(bus->readFrame(message), STATUS_OK);
         }
         expectReads(*bus, folder);
     }},

    {"KXCANRaw", "isConnected", "does not fail: a file that cannot be seen is not lost",
     [](Fault& fault) {
         const Folder folder;
         const std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 0, 0));
         EXPECT_TRUE(fault.during([&] { return bus->isConnected(); }));
         expectReads(*bus, folder);
     }},

    {"KXCANRaw", "destroy", "does not fail; the file may stay, and the next bus replaces it",
     [](Fault& fault) {
         const Folder folder;
         std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 0, 0));
         fault.during([&] { bus.reset(); });
         if (!fault.isOf("lstat64") && !fault.isOf("unlink"))
             EXPECT_FALSE(std::filesystem::exists(folder.bus));
         bus.reset(KXCANRaw::create(0, 0, 0));
         ASSERT_NE(bus, nullptr);
         expectReads(*bus, folder);
     }},
};

} // namespace

} // namespace KX::test

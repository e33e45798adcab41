#pragma once

#include <string>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

/// A folder for one virtual bus, and the variable that makes it bus 0, until the end of the scope.
class BusFolder {
public:
    BusFolder();
    ~BusFolder();

    BusFolder(const BusFolder&) = delete;
    BusFolder& operator=(const BusFolder&) = delete;

    const std::string folder;
    const std::string path; ///< of the bus
};

/// The address of a virtual bus.
sockaddr_un makeAddress(const std::string& path);

/// Binds a socket to a path, as another program does. The file stays when the socket is closed.
int bindSocket(const std::string& path, int type = SOCK_DGRAM);

/// Sends a frame to a virtual bus as another program does. \return whether the bus took it
bool sendFrame(const std::string& path, unsigned int id);

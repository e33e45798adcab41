#include "platform/linux/hardware/VirtualCAN.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace KX {

namespace {

/// The socket files that this process has bound and not closed. Any thread.
///
/// A second end point for a bus replaces the first one of the same process, but does not take a bus away from
/// another process. The file itself does not tell which process has bound it.
class OwnSockets {
public:
    /// Never destroyed: a static destructor may close a bus.
    static OwnSockets& get() {
        static OwnSockets& ownSockets = *new OwnSockets;
        return ownSockets;
    }

    void insert(const FileIdentity& file) {
        const std::lock_guard<std::mutex> guard(lock);
        files.emplace_back(getpid(), file);
    }

    void remove(const FileIdentity& file) {
        const std::lock_guard<std::mutex> guard(lock);
        files.erase(std::remove(files.begin(), files.end(), Owned(getpid(), file)), files.end());
    }

    /// False in the child of a fork for what the parent has bound.
    bool contains(const FileIdentity& file) {
        const std::lock_guard<std::mutex> guard(lock);
        return std::find(files.begin(), files.end(), Owned(getpid(), file)) != files.end();
    }

private:
    using Owned = std::pair<pid_t, FileIdentity>;

    std::mutex lock;
    std::vector<Owned> files; // guarded by lock
};

sockaddr_un makeAddress(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
}

int makeSocket() {
    return socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
}

template<typename Function>
int callWithAddress(Function function, int descriptor, const std::string& path) {
    const sockaddr_un address = makeAddress(path);
    return function(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

bool getIdentity(const std::string& path, FileIdentity& identity) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0)
        return false;
    identity = FileIdentity(status.st_dev, status.st_ino);
    return true;
}

std::string describeError(const std::string& path) {
    return path + ": " + std::strerror(errno);
}

} // namespace

VirtualCAN::VirtualCAN(int busNumber, const std::string& pathOfSocket)
    : CANSocket(busNumber), path(pathOfSocket) {}

VirtualCAN::~VirtualCAN() {
    closeSocket();
}

CANSocket::Opening VirtualCAN::openSocket(int& newDescriptor, std::string& reason) {
    if (path.empty() || path.size() >= sizeof(sockaddr_un::sun_path)) {
        reason = "the path of the virtual bus must have 1 to " +
                 std::to_string(sizeof(sockaddr_un::sun_path) - 1) + " bytes";
        return Opening::refused;
    }
    if (!makeRoom(reason))
        return Opening::refused;
    newDescriptor = makeSocket();
    // bind gives the file the mode of the socket, so other users never have access. EADDRINUSE: another process
    // was faster.
    if (newDescriptor < 0 || fchmod(newDescriptor, S_IRUSR | S_IWUSR) != 0 ||
        callWithAddress(bind, newDescriptor, path) != 0 || !getIdentity(path, boundFile)) {
        reason = describeError(path);
        return Opening::refused;
    }
    OwnSockets::get().insert(boundFile);
    return Opening::done;
}

/// Removes a socket file from the path, unless another process has bound it.
/// \return whether the path can be bound now
bool VirtualCAN::makeRoom(std::string& reason) const {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        // ENOENT: nothing is there. bind reports any other error.
        return true;
    }
    if (!S_ISSOCK(status.st_mode)) {
        reason = path + " exists and is no socket";
        return false;
    }
    const bool isOurs = OwnSockets::get().contains(FileIdentity(status.st_dev, status.st_ino));
    if (!isOurs && isHeldByAnotherProcess(reason))
        return false;
    // ENOENT: its owner has removed it meanwhile.
    if (unlink(path.c_str()) != 0 && errno != ENOENT) {
        reason = describeError(path);
        return false;
    }
    return true;
}

bool VirtualCAN::isHeldByAnotherProcess(std::string& reason) const {
    const int probe = makeSocket();
    if (probe < 0) {
        reason = describeError(path);
        return true;
    }
    const int error = callWithAddress(connect, probe, path) == 0 ? 0 : errno;
    close(probe);
    if (error == ECONNREFUSED || error == ENOENT) {
        // Left behind by a process that has ended, or removed meanwhile.
        return false;
    }
    // 0: a process has bound it. EPROTOTYPE: a process has bound another kind of socket. EACCES: it is another
    // user's, so this cannot be found out.
    reason = path + " is held by another process";
    return true;
}

void VirtualCAN::socketCloses() {
    FileIdentity present;
    // A later end point may have bound the path meanwhile.
    if (getIdentity(path, present) && present == boundFile)
        unlink(path.c_str());
    OwnSockets::get().remove(boundFile);
}

} // namespace KX

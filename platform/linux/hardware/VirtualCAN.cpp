#include "platform/linux/hardware/VirtualCAN.h"

#include "platform/KXDebug.h"
#include "platform/StandardOutputs.h"
#include "platform/linux/hardware/FolderLock.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace KX {

namespace {

/// A file that is lost is noticed within this time. A wait asks far more often, with each frame of a busy bus.
constexpr std::chrono::seconds lookInterval{1};

/// \return the absolute path where a socket can have one that long
std::string getLocation(const std::string& path) {
    std::error_code error;
    const std::string absolute = std::filesystem::absolute(path, error).string();
    return error || absolute.size() >= sizeof(sockaddr_un::sun_path) ? path : absolute;
}

std::string getFolder(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

/// Removes a socket file at the end of the scope, unless it is kept.
class NewFile {
public:
    explicit NewFile(const std::string& pathOfFile) : path(pathOfFile) {}
    ~NewFile() {
        if (!kept)
            unlink(path.c_str());
    }

    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void keep() { kept = true; }

private:
    const std::string& path;
    bool kept = false;
};

sockaddr_un makeAddress(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
}

int makeSocket() {
    return keepOffStandardOutputs(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
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

} // namespace

VirtualCAN::VirtualCAN(int busNumber, const std::string& pathOfSocket)
    : CANSocket(busNumber), path(pathOfSocket), location(getLocation(pathOfSocket)), folder(getFolder(location)) {}

VirtualCAN::~VirtualCAN() {
    closeSocket();
}

std::string VirtualCAN::describeError() const {
    return path + ": " + std::strerror(errno);
}

CANSocket::Opening VirtualCAN::openSocket(int& newDescriptor, std::string& reason) {
    if (path.empty() || path.size() >= sizeof(sockaddr_un::sun_path)) {
        reason = "the path of the virtual bus must have 1 to " +
                 std::to_string(sizeof(sockaddr_un::sun_path) - 1) + " bytes";
        return Opening::refused;
    }
    newDescriptor = makeSocket();
    // bind gives the file the mode of the socket, so other users never have access.
    if (newDescriptor < 0 || fchmod(newDescriptor, S_IRUSR | S_IWUSR) != 0) {
        reason = describeError();
        return Opening::refused;
    }
    return bindSocket(newDescriptor, reason);
}

CANSocket::Opening VirtualCAN::bindSocket(int unboundSocket, std::string& reason) {
    // Of two processes that find a stale file, the slower one would remove the new file of the faster one.
    const FolderLock folderLock(folder);
    if (folderLock.isTakenByAnother()) {
        reason = path + ": another process has locked the folder";
        return Opening::later;
    }
    if (!makeRoom(reason))
        return Opening::refused;
    // EADDRINUSE: a process that cannot lock the folder was faster.
    if (callWithAddress(bind, unboundSocket, location) != 0) {
        reason = describeError();
        return Opening::refused;
    }
    NewFile newFile(location);
    FileIdentity identity;
    if (!getIdentity(location, identity)) {
        reason = describeError();
        return Opening::refused;
    }
    rememberFile(identity);
    newFile.keep();
    return Opening::done;
}

void VirtualCAN::rememberFile(const FileIdentity& file) {
    OwnSockets::get().insert(file);
    boundBy = getpid();
    const KXLockGuard guard(lock);
    boundFile = file;
    fileLost = false;
    lookDue = Clock::now() + lookInterval;
}

/// Removes a socket file from the path, unless another process has bound it.
/// \return whether the path can be bound now
bool VirtualCAN::makeRoom(std::string& reason) const {
    struct stat status {};
    if (lstat(location.c_str(), &status) != 0) {
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
    if (unlink(location.c_str()) != 0 && errno != ENOENT) {
        reason = describeError();
        return false;
    }
    return true;
}

bool VirtualCAN::isHeldByAnotherProcess(std::string& reason) const {
    const int probe = makeSocket();
    if (probe < 0) {
        reason = describeError();
        return true;
    }
    const int error = callWithAddress(connect, probe, location) == 0 ? 0 : errno;
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

// Only the reading thread, which calls this, writes boundFile.
void VirtualCAN::socketCloses() KX_NO_THREAD_SAFETY_ANALYSIS {
    // The child of a fork has a copy of the socket, but the file is the parent's.
    if (boundBy != getpid())
        return;
    // Without the lock, a second end point of this process may bind the path between the look and the removal.
    const FolderLock folderLock(folder);
    FileIdentity present;
    if (getIdentity(location, present) && present == boundFile)
        unlink(location.c_str());
    OwnSockets::get().remove(boundFile);
}

bool VirtualCAN::isConnected() const {
    return CANSocket::isConnected() && !isFileLost();
}

/// Whether the path does not lead to this socket any more, so that no sender finds it.
bool VirtualCAN::isFileLost() const {
    const KXLockGuard guard(lock);
    const Clock::time_point now = Clock::now();
    if (fileLost || now < lookDue)
        return fileLost;
    lookDue = now + lookInterval;
    FileIdentity present;
    if (getIdentity(location, present))
        fileLost = present != boundFile && !OwnSockets::get().contains(present);
    else
        fileLost = errno == ENOENT;
    // Its own thread takes the file away, too, with the socket closed.
    fileLost = fileLost && CANSocket::isConnected();
    if (fileLost) {
        KXDebug::debugPrintError(1, getCANDebugKey(), "bus %d: %s was removed or replaced and is bound anew",
                                 getBus(), path.c_str());
    }
    return fileLost;
}

} // namespace KX

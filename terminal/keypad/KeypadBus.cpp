#include "terminal/keypad/KeypadBus.h"

#include <QFile>
#include <QFileInfo>

#include <chrono>
#include <cstdint>
#include <net/if.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace Terminal {

namespace {

const char* const variable = "KX_CAN_BUS_0";
const std::string virtualBus = "unix:";

// The window freezes for up to this time. A listener takes a frame at once.
constexpr std::chrono::milliseconds longestWait(50);

bool isVirtual(const std::string& name) {
    return name.compare(0, virtualBus.size(), virtualBus) == 0;
}

bool isHeldByAnother(const std::string& name) {
    try {
        const KX::CanBus::CANSender probe(name);
        return true;
    } catch (const std::runtime_error&) {
        return false; // a socket without a listener is replaced
    }
}

// Whether a listener can be at the path. The platform checks it too, but it has its own wording, and the library
// would go on without a keypad.
void checkPath(const std::string& name) {
    const QString path = QString::fromLocal8Bit(name.substr(virtualBus.size()).c_str());
    const QFileInfo folder(QFileInfo(path).path());
    struct stat status {};
    const bool exists = lstat(name.c_str() + virtualBus.size(), &status) == 0;
    const std::size_t length = name.size() - virtualBus.size();
    if (length == 0 || length >= sizeof(sockaddr_un::sun_path))
        throw SettingsError(name + ": the path of a virtual bus must have 1 to " +
                            std::to_string(sizeof(sockaddr_un::sun_path) - 1) + " bytes");
    if (exists && !S_ISSOCK(status.st_mode))
        throw SettingsError(name + ": there is a file that is no socket");
    if (exists && isHeldByAnother(name))
        throw SettingsError(name + ": another program reads this bus");
    if (!folder.isDir())
        throw SettingsError(name + ": there is no such folder");
    if (!folder.isWritable())
        throw SettingsError(name + ": no permission to write into the folder");
}

std::unique_ptr<KX::CanBus::CANSender> openSender(const std::string& name) {
    try {
        return std::make_unique<KX::CanBus::CANSender>(name, longestWait);
    } catch (const std::runtime_error& error) {
        throw SettingsError(error.what());
    }
}

// The number of the socket file; 0 when there is none.
std::uint64_t numberOfSocket(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode) ? status.st_ino : 0;
}

// The flags of the interface, as the kernel has them in a file of text. Nothing when there is no such interface.
std::optional<unsigned int> flagsOfInterface(const QString& name) {
    QFile file(QStringLiteral("/sys/class/net/%1/flags").arg(name));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll().trimmed().toUInt(nullptr, 0);
}

BusStatus statusOfInterface(const QString& name) {
    const std::optional<unsigned int> flags = flagsOfInterface(name);
    if (!flags)
        return {name, QStringLiteral("no such interface"), false};
    const bool isUp = (*flags & static_cast<unsigned int>(IFF_UP)) != 0;
    return {name, isUp ? QStringLiteral("up") : QStringLiteral("down"), isUp};
}

} // namespace

KeypadBus::KeypadBus(const std::optional<QString>& chosen)
    : name(chosen ? chosen->toLocal8Bit().toStdString() : qgetenv(variable).toStdString()) {
    if (name.empty()) {
        privateFolder = std::make_unique<QTemporaryDir>();
        if (!privateFolder->isValid())
            throw SettingsError("no folder for the virtual bus: " + privateFolder->errorString().toStdString());
        name = virtualBus + privateFolder->filePath(QStringLiteral("can0")).toLocal8Bit().toStdString();
    }
    if (isVirtual(name))
        checkPath(name);
    else
        sender = openSender(name);
    qputenv(variable, QByteArray::fromStdString(name));
}

void KeypadBus::connectToListener() {
    if (!sender)
        sender = openSender(name);
    if (isVirtual(name))
        firstSocket = numberOfSocket(name.substr(virtualBus.size()));
}

std::optional<QString> KeypadBus::send(const KX::KXCANMessage& frame) {
    try {
        sender->send(frame);
        return std::nullopt;
    } catch (const std::runtime_error& error) {
        if (isVirtual(name) && sendAnew(frame))
            return std::nullopt;
        return QString::fromLocal8Bit(error.what());
    }
}

// A listener whose file was deleted has another socket now.
bool KeypadBus::sendAnew(const KX::KXCANMessage& frame) {
    try {
        sender = openSender(name);
        sender->send(frame);
        return true;
    } catch (const std::runtime_error&) {
        return false; // the first error tells why
    }
}

BusStatus KeypadBus::status() const {
    const QString shown = QString::fromLocal8Bit(name.c_str());
    if (!isVirtual(name))
        return statusOfInterface(shown);
    const QString bus = privateFolder ? QStringLiteral("own virtual bus") : shown;
    const std::uint64_t number = numberOfSocket(name.substr(virtualBus.size()));
    if (number == 0)
        return {bus, QStringLiteral("deleted"), false};
    // The platform makes the file anew where it can.
    return {bus, number == firstSocket ? QStringLiteral("up") : QStringLiteral("up again"), true};
}

} // namespace Terminal

#include "terminal/keypad/KeypadBus.h"

#include <QFileInfo>

#include <chrono>
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
}

std::optional<QString> KeypadBus::send(const KX::KXCANMessage& frame) {
    try {
        sender->send(frame);
        return std::nullopt;
    } catch (const std::runtime_error& error) {
        return QString::fromLocal8Bit(error.what());
    }
}

} // namespace Terminal

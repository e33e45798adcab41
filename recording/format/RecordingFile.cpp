#include "recording/format/RecordingFile.h"

#include "platform/BlockedSignal.h"
#include "platform/StandardOutputs.h"
#include "recording/KXKeyLayout.h"
#include "recording/KXSettingTable.h"
#include "recording/format/RecordingFormat.h"
#include "recording/format/SessionState.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <stdexcept>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace KX::Recording {

namespace {

// A recording has every key that was pressed.
constexpr mode_t accessForOwner = 0600;
constexpr mode_t accessOfOthers = 0077;
constexpr std::size_t largeBuffer = 65536;

// Of at most 23 characters each: " 0xFFFFFFFF=-2147483648".
constexpr std::size_t mostKeysInLine = 2500;

// Opening a pipe without a reader would block, and a signal could not end the program. Without blocking, such a
// pipe is refused. Later writes wait for the reader as usual.
int openToAppend(const std::string& name, int otherFlags) {
    constexpr int flags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW;
    const int descriptor = keepOffStandardOutputs(open(name.c_str(), flags | otherFlags, accessForOwner));
    if (descriptor >= 0)
        fcntl(descriptor, F_SETFL, O_APPEND); // no other flag can change; this does not fail
    return descriptor;
}

// A new file's name is on the disk when its folder is.
bool syncFolder(const std::string& name) {
    const std::size_t slash = name.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : name.substr(0, slash + 1);
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return errno == EACCES || errno == ENOENT; // may not be read, or was moved: the system decides when
    const bool isSynced = fsync(descriptor) == 0 || errno == EINVAL; // which some file systems do not know
    const int error = errno;
    close(descriptor);
    errno = error;
    return isSynced;
}

bool isLink(const std::string& name) {
    struct stat state {};
    return lstat(name.c_str(), &state) == 0 && S_ISLNK(state.st_mode);
}

// The system's texts for these, "No such device or address" and "Too many levels of symbolic links", do not help.
std::string whyNotOpened(const std::string& name, int error) {
    if (error == ENXIO)
        return "nobody reads this pipe";
    return error == ELOOP && isLink(name) ? "it is a symbolic link, which is not followed" : std::strerror(error);
}

// Some network file systems have no locks; a recording goes there all the same.
bool isLockedByAnother(int descriptor) {
    return flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

// Most processes have no limit: they need not block the signal for each line.
bool isSizeLimited() {
    rlimit limit{};
    return getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
}

} // namespace

File::File(std::string path) : name(std::move(path)), hasSizeLimit(isSizeLimited()) {
    try {
        open();
        addHead();
        if (!flush() || !syncName())
            throw std::runtime_error(*failure);
    } catch (...) {
        discard();
        throw;
    }
}

File::~File() {
    if (descriptor >= 0)
        close(descriptor);
}

void File::open() {
    descriptor = openToAppend(name, O_EXCL);
    isMade = descriptor >= 0;
    if (!isMade && errno == EEXIST)
        descriptor = openToAppend(name, 0);
    struct stat state {};
    if (descriptor < 0 || fstat(descriptor, &state) != 0)
        refuse(whyNotOpened(name, errno));
    device = state.st_dev;
    number = state.st_ino;
    if (!S_ISREG(state.st_mode))
        return;
    claim();
    isRegular = true; // from now on it may be emptied
}

// A file that is not empty holds something that must not be lost. Only its writer holds the lock, so it is taken before
// the size is read.
void File::claim() {
    if (isLockedByAnother(descriptor))
        refuseAsOthers("another recording is being written into it");
    struct stat state {};
    if (fstat(descriptor, &state) != 0)
        refuse(std::strerror(errno));
    if (state.st_size > 0)
        refuseAsOthers("the file exists and is not overwritten");
    if (!isMade)
        makePrivate(state);
}

// A file that this object has made needs none of it. On some file systems all files belong to one user.
void File::makePrivate(const struct stat& state) {
    if (state.st_uid != geteuid())
        refuse("it belongs to another user, who could read the recording");
    if ((state.st_mode & accessOfOthers) != 0 && fchmod(descriptor, accessForOwner) != 0)
        refuse(std::strerror(errno));
}

void File::refuse(const std::string& why) {
    throw std::runtime_error(name + ": " + why);
}

// Another writer may have taken a file that this object has made, before it was locked. Then it must stay.
void File::refuseAsOthers(const std::string& why) {
    isMade = false;
    refuse(why);
}

void File::fail(int error, const char* during) {
    if (!failure)
        failure = name + ": " + during + std::strerror(error);
}

void File::addHead() {
    buffer = std::string(firstLine()) + "\n# written by KXAPI_Recording " KXAPI_VERSION "\n";
}

bool File::restart() {
    if (!failure && ftruncate(descriptor, 0) != 0)
        fail(errno, "cannot begin anew: ");
    addHead();
    return flush();
}

// A disk over a network may tell only now that it is full. After a failed close the descriptor is closed, too.
bool File::finish() {
    if (isOfAnotherProcess() || !flush())
        return false;
    if (isGone())
        return false;
    if (isRegular && fsync(descriptor) != 0) {
        fail(errno);
        return false; // discard needs the descriptor
    }
    if (close(std::exchange(descriptor, -1)) != 0)
        fail(errno);
    return !failure;
}

bool File::startSync() {
    hasSizeLimit = isSizeLimited(); // the application may have set one since
    if (!isRegular || failure)
        return !failure;
    if (const int error = sync.request(descriptor))
        fail(error);
    return !failure;
}

bool File::syncName() {
    if (isMade && isRegular && !syncFolder(name))
        fail(errno);
    return !failure;
}

bool File::isGone() {
    struct stat state {};
    if (!isRegular || fstat(descriptor, &state) != 0 || state.st_nlink > 0)
        return false;
    if (!failure)
        failure = name + ": the file was removed";
    return true;
}

void File::discard() {
    if (isOfAnotherProcess())
        return;
    const bool isUnknown = number == 0; // the system refused to tell
    if (isMade && (isUnknown || hasItsName()))
        unlink(name.c_str());
    else if (isRegular && descriptor >= 0 && ftruncate(descriptor, 0) != 0)
        fail(errno);
    if (descriptor < 0)
        return;
    // A child that another thread has forked meanwhile has a copy of the descriptor, and must not keep the lock.
    flock(descriptor, LOCK_UN);
    close(std::exchange(descriptor, -1));
}

// The child of a fork has a copy of the descriptor, but the parent goes on with the file.
bool File::isOfAnotherProcess() {
    if (maker == getpid())
        return false;
    buffer.clear();
    if (!failure)
        failure = name + ": it belongs to the process that has begun it";
    if (descriptor >= 0)
        close(std::exchange(descriptor, -1));
    return true;
}

// Somebody may have moved the file, and another one may have its name.
bool File::hasItsName() const {
    struct stat named {};
    return lstat(name.c_str(), &named) == 0 && named.st_dev == device && named.st_ino == number;
}

// Calls of setKeyMapping add to each other, so a long one can be several.
void File::add(const Entry& entry) {
    const auto* const mapping = std::get_if<KeyMapping>(&entry.input);
    if (!mapping || mapping->keyCodeOfToolkitKey.size() <= mostKeysInLine)
        return addLine(entry);
    KeyMapping part;
    for (const auto& key : mapping->keyCodeOfToolkitKey) {
        part.keyCodeOfToolkitKey.insert(key);
        if (part.keyCodeOfToolkitKey.size() == mostKeysInLine)
            addLine({entry.timeMs, std::exchange(part, {})});
    }
    if (!part.keyCodeOfToolkitKey.empty())
        addLine({entry.timeMs, part});
}

void File::addLine(const Entry& entry) {
    const std::size_t begin = buffer.size();
    try {
        format(entry, buffer);
    } catch (...) {
        buffer.resize(begin); // no memory: a part of a line would spoil the next one
        throw;
    }
    if (buffer.size() - begin > longestLine && !failure)
        failure = name + ": a line would be longer than " + std::to_string(longestLine) + " characters";
    buffer += '\n';
    if (buffer.size() > largeBuffer)
        flush();
}

bool File::flush() {
    std::optional<BlockedSignal> noSignal;
    if (!isRegular || hasSizeLimit)
        noSignal.emplace(isRegular ? SIGXFSZ : SIGPIPE);
    std::string_view text = buffer;
    while (!failure && !text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written > 0)
            text.remove_prefix(static_cast<std::size_t>(written)); // all, unless the disk fills up
        else if (written == 0)
            fail(ENOSPC); // which sets no error
        else if (errno != EINTR)
            fail(errno);
    }
    buffer.clear();
    return !failure;
}

namespace {

// A reader ends a word at these, and a line at its end.
bool isWord(const std::string& text) {
    return !text.empty() && text.find_first_of(" \t\r\v\f\n") == std::string::npos;
}

// Why no reader takes an entry; null: one does.
const char* whyUnreadable(const Entry& entry, const Entry& before) {
    constexpr std::uint64_t longestPauseMs = 0x7FFFFFFF;
    if (entry.timeMs < before.timeMs || entry.timeMs - before.timeMs > longestPauseMs)
        return "does not follow the one before in time";
    if (&entry != &before && std::holds_alternative<End>(before.input))
        return "comes behind the end";
    const auto* const setting = std::get_if<NumberSetting>(&entry.input);
    if (setting && !hasSettingRow(setting->name))
        return "sets what a recording has no word for";
    if (setting && !settingRow(setting->name).argument.contains(setting->value))
        return "sets a number that cannot be set";
    const auto* const frame = std::get_if<Frame>(&entry.input);
    if (frame && !isWord(frame->bus))
        return "is of a bus whose name is no word";
    if (frame && frame->message.canLength > 8)
        return "is a frame of more than 8 bytes";
    return nullptr;
}

void check(const std::string& path, const Session& session) {
    if (session.isPlainLog)
        throw std::runtime_error(path + ": the log of a CAN bus is no recording");
    ToldKeys keys;
    for (std::size_t i = 0; i < session.entries.size(); ++i) {
        const Entry& entry = session.entries[i];
        const auto refuse = [&](const std::string& why) {
            throw std::runtime_error(path + ": entry " + std::to_string(i + 1) + " " + why);
        };
        if (const char* const why = whyUnreadable(entry, session.entries[i == 0 ? 0 : i - 1]))
            refuse(why);
        if (const auto* const mapping = std::get_if<KeyMapping>(&entry.input))
            keys.add(*mapping);
        const auto* const keypad = std::get_if<Keypad>(&entry.input);
        if (const auto wrong = keypad ? KeyLayout::check(*keypad->layout, keys.toolkitKeys()) : std::nullopt)
            refuse("is a keypad that no reader takes: " + wrong->text);
    }
}

} // namespace

void writeNewFile(const std::string& path, const std::function<void(File&)>& addAll) {
    File file(path);
    try {
        addAll(file);
        if (!file.finish())
            throw std::runtime_error(*file.problem());
    } catch (...) {
        file.discard();
        throw;
    }
}

void writeFile(const std::string& path, const Session& session) {
    check(path, session);
    writeNewFile(path, [&](File& file) {
        for (const Entry& entry : session.entries)
            file.add(entry);
    });
}

} // namespace KX::Recording

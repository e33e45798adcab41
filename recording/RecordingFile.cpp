#include "recording/RecordingFile.h"

#include "recording/RecordingFormat.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace KX::Recording {

namespace {

constexpr mode_t accessForAll = 0666; // minus the umask of the process
constexpr std::size_t largeBuffer = 65536;

// Opening a pipe without a reader would block, and a signal could not end the program. Without blocking, such a
// pipe is refused. Later writes wait for the reader as usual.
int openToAppend(const std::string& name) {
    const int descriptor =
        open(name.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK, accessForAll);
    if (descriptor >= 0)
        fcntl(descriptor, F_SETFL, O_APPEND); // no other flag can change; this does not fail
    return descriptor;
}

// The text for ENXIO is "No such device or address", which does not help.
std::string whyNotOpened(int error) {
    return error == ENXIO ? "nobody reads this pipe" : std::strerror(error);
}

// Whether the file may hold something that must not be lost. A pipe or a device has no size.
bool holdsSomething(int descriptor) {
    struct stat state {};
    return fstat(descriptor, &state) != 0 || (S_ISREG(state.st_mode) && state.st_size > 0);
}

} // namespace

File::File(std::string path) : name(std::move(path)) {
    descriptor = openToAppend(name);
    if (descriptor < 0)
        throw std::runtime_error(name + ": " + whyNotOpened(errno));
    addHead();
    const bool isTaken = holdsSomething(descriptor);
    if (isTaken || !flush()) {
        close(descriptor);
        throw std::runtime_error(isTaken ? name + ": it is there already and is not overwritten" : *failure);
    }
}

File::~File() {
    close(descriptor);
}

void File::addHead() {
    buffer = std::string(firstLine()) + "\n# written by KXAPI_Recording " KXAPI_VERSION "\n";
}

bool File::restart() {
    if (!failure && ftruncate(descriptor, 0) != 0)
        failure = name + ": cannot begin anew: " + std::strerror(errno);
    addHead();
    return flush();
}

void File::add(const Entry& entry) {
    format(entry, buffer);
    buffer += '\n';
    if (buffer.size() > largeBuffer)
        flush();
}

bool File::flush() {
    std::string_view text = buffer;
    while (!failure && !text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written > 0)
            text.remove_prefix(static_cast<std::size_t>(written)); // all, unless the disk fills up
        else if (errno != EINTR)
            failure = name + ": " + std::strerror(errno);
    }
    buffer.clear();
    return !failure;
}

} // namespace KX::Recording

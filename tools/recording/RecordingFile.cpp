#include "tools/recording/RecordingFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Recording {

namespace {

constexpr mode_t accessForAll = 0666; // less what the process' umask takes away

// A pipe that nobody reads would keep the caller until somebody does, deaf to a signal that asks it to end: without
// waiting, it is refused. What is written later waits for the reader as usual.
int openToAppend(const std::string& name) {
    const int descriptor =
        open(name.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK, accessForAll);
    if (descriptor >= 0)
        fcntl(descriptor, F_SETFL, O_APPEND); // the only flag besides that can be set anew; it does not fail
    return descriptor;
}

// ENXIO says "No such device or address", which helps nobody.
std::string whyNotOpened(int error) {
    return error == ENXIO ? "nobody reads this pipe" : std::strerror(error);
}

// Whether there may be something that must not be lost. A pipe or a device has no size.
bool holdsSomething(int descriptor) {
    struct stat state {};
    return fstat(descriptor, &state) != 0 || (S_ISREG(state.st_mode) && state.st_size > 0);
}

} // namespace

File::File(std::string path, const std::string& program) : name(std::move(path)) {
    descriptor = openToAppend(name);
    if (descriptor < 0)
        throw std::runtime_error(name + ": " + whyNotOpened(errno));
    const bool isTaken = holdsSomething(descriptor);
    if (isTaken || !append(std::string(firstLine()) + "\n# written by " + program + "\n")) {
        close(descriptor);
        throw std::runtime_error(isTaken ? name + ": it is there already and is not overwritten" : *failure);
    }
}

File::~File() {
    close(descriptor);
}

bool File::write(unsigned int tick, const Input& input) {
    Entry entry;
    try {
        entry.timeMs = continueTime(tick, lastMs);
    } catch (const std::runtime_error& error) {
        failure = failure.value_or(name + ": " + error.what()); // by a clock that was set back
        return false;
    }
    entry.input = input;
    lastMs = entry.timeMs;
    return append(format(entry) + "\n");
}

bool File::append(std::string_view text) {
    while (!failure && !text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written > 0)
            text.remove_prefix(static_cast<std::size_t>(written)); // all of it, but for a disk that fills up
        else if (errno != EINTR)
            failure = name + ": " + std::strerror(errno);
    }
    return !failure;
}

} // namespace Recording

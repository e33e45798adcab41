#include "tools/kxreplay/follow/GrowingInput.h"

#include "recording/KXRecording.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Replay {

namespace {

// Other machines change files on network file systems, and the kernel does not tell of that.
constexpr int longestWaitMs = 500;
constexpr int waitWithoutNoticeMs = 100;

sigset_t interruptSet() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

} // namespace

InterruptSignals::InterruptSignals() {
    const sigset_t set = interruptSet();
    sigprocmask(SIG_BLOCK, &set, nullptr);
    interrupts = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    if (interrupts == -1)
        throw std::runtime_error(std::string("signals: ") + std::strerror(errno));
}

InterruptSignals::~InterruptSignals() {
    close(interrupts);
    const sigset_t set = interruptSet();
    sigprocmask(SIG_UNBLOCK, &set, nullptr);
}

int InterruptSignals::take() {
    signalfd_siginfo information{};
    if (caught == 0 && read(interrupts, &information, sizeof(information)) == sizeof(information))
        caught = static_cast<int>(information.ssi_signo);
    return caught;
}

GrowingInput::GrowingInput(const std::string& path, InterruptSignals& interruptSignals,
                           std::function<void()> beforeWait)
    : name(path == "-" ? "standard input" : path), interrupts(interruptSignals),
      callBeforeWait(std::move(beforeWait)) {
    open(path);
}

GrowingInput::~GrowingInput() {
    if (changes != -1)
        close(changes);
    if (input > STDERR_FILENO)
        close(input);
}

void GrowingInput::open(const std::string& path) {
    input = path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat state {};
    if (input == -1 || fstat(input, &state) != 0)
        throw KX::Recording::BadFile(name + ": " + std::strerror(errno));
    isFile = S_ISREG(state.st_mode);
    if (isFile && path != "-")
        watch(path);
}

// Without notice the file is looked at again and again.
void GrowingInput::watch(const std::string& path) {
    changes = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (changes == -1 || inotify_add_watch(changes, path.c_str(), IN_MODIFY) != -1)
        return;
    close(changes);
    changes = -1;
}

GrowingInput::int_type GrowingInput::underflow() {
    try {
        if (!failure && readMore())
            return traits_type::to_int_type(*gptr());
    } catch (const std::exception&) {
        failure = std::current_exception();
    }
    return traits_type::eof();
}

bool GrowingInput::readMore() {
    for (;;) {
        if (interrupts.take() != 0)
            throw Interrupted();
        pollfd ready{input, POLLIN, 0};
        if (!isFile && poll(&ready, 1, 0) == 0) {
            wait();
            continue;
        }
        const ssize_t count = read(input, block.data(), block.size());
        if (count == -1 && errno != EINTR && errno != EAGAIN)
            throw KX::Recording::BadFile(name + ": " + std::strerror(errno));
        if (count > 0) {
            setg(block.data(), block.data(), block.data() + count);
            return true;
        }
        if (count == 0 && !isFile)
            return false;
        checkThatItHasNotShrunk();
        wait();
    }
}

void GrowingInput::wait() {
    callBeforeWait();
    pollfd watched[] = {{interrupts.descriptor(), POLLIN, 0}, {isFile ? changes : input, POLLIN, 0}};
    const int fileMs = changes == -1 ? waitWithoutNoticeMs : longestWaitMs;
    poll(watched, 2, isFile ? fileMs : -1); // EINTR: the caller looks again
    drainChanges();
}

void GrowingInput::drainChanges() {
    if (changes == -1)
        return;
    std::array<char, 1024> events;
    while (read(changes, events.data(), events.size()) > 0) {
    }
}

// A recorder that begins anew empties its file.
void GrowingInput::checkThatItHasNotShrunk() const {
    struct stat state {};
    if (isFile && fstat(input, &state) == 0 && state.st_size < lseek(input, 0, SEEK_CUR))
        throw KX::Recording::BadFile(name + ": the file was emptied or cut while it was followed");
}

void GrowingInput::throwFailure() const {
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace Replay

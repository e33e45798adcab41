#include "tools/output/StandardOutput.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace Output {

namespace {

[[noreturn]] void fail() {
    throw std::runtime_error(std::string("standard output: ") + std::strerror(errno));
}

// The lowest free descriptor is the one that is missing, since the lower ones were looked at before.
void guard(int descriptor, int access) {
    if (fcntl(descriptor, F_GETFD) == -1 && errno == EBADF)
        open("/dev/null", access);
}

} // namespace

// The wrong access makes reading and writing fail, but for standard error, which nobody misses.
void guardStandardDescriptors() {
    guard(STDIN_FILENO, O_WRONLY);
    guard(STDOUT_FILENO, O_RDONLY);
    guard(STDERR_FILENO, O_WRONLY);
}

void write(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
        fail();
}

std::string asOneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; }, '?');
    return text;
}

void flush() {
    if (std::fflush(stdout) != 0)
        fail();
}

} // namespace Output

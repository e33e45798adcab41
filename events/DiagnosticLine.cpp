#include "events/DiagnosticLine.h"

#include "platform/BlockedSignal.h"
#include "platform/KXLocks.h"
#include "platform/OutputRoom.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <ext/stdio_filebuf.h>
#include <ext/stdio_sync_filebuf.h>
#include <iostream>
#include <streambuf>
#include <unistd.h>

namespace KX {

namespace {

constexpr std::size_t longestLine = 512;

std::size_t compose(char* text, std::initializer_list<LinePiece> pieces) {
    std::size_t length = 0;
    for (const LinePiece& piece : pieces)
        length += piece.text.copy(text + length, longestLine - 1 - length);
    text[length++] = '\n';
    return length;
}

// The characters that a buffer holds back. It sends them later, if its output works again then.
class Pending : std::streambuf {
public:
    static std::streamsize count(const std::streambuf& buffer) {
        return (buffer.*&Pending::pptr)() - (buffer.*&Pending::pbase)();
    }

    static void dropLast(std::streambuf& buffer, std::streamsize number) {
        (buffer.*&Pending::pbump)(-static_cast<int>(number));
    }
};

// Not through the stream itself, because that may be bad already, or throw when it fails. A buffer of a file keeps what
// it could not write. A line that is lost must not come after all, because it is counted.
bool insert(std::streambuf& buffer, const char* text, std::streamsize length) {
    const std::streamsize inserted = buffer.sputn(text, length);
    if (inserted == length && buffer.pubsync() == 0)
        return true;
    Pending::dropLast(buffer, std::min(inserted, Pending::count(buffer)));
    return false;
}

// Of the buffer that a standard stream has from the start: that of the C library or, without it, one of its own. -1: of
// another one, which the application has given it.
int descriptorOf(std::streambuf& buffer) {
    if (dynamic_cast<__gnu_cxx::stdio_sync_filebuf<char>*>(&buffer))
        return STDERR_FILENO;
    auto* const own = dynamic_cast<__gnu_cxx::stdio_filebuf<char>*>(&buffer); // without the C library's buffer
    return own ? own->fd() : -1;
}

// As long as a debug message waits. A reader that is alive empties a pipe within this time.
constexpr int patienceMs = 100;

// Where lines go: standard error, and all other streams together.
struct Output {
    std::atomic<unsigned int> lostLines{0}; // since the last one that got through there

    // A standard stream without the C library's buffer is for one thread at a time. And of two lines on standard error
    // that see the same room, one would wait.
    KXStdMutex mutex;
    std::atomic<bool> isStalled{false}; // the last line is not through
};

Output errors, others;

// What a tied stream still holds comes first, but no line waits for the reader of another stream. Without the C
// library's buffer another thread may be at it.
void flushTied(std::ostream* tied) {
    if (tied && tied->good() && !others.isStalled.load(std::memory_order_relaxed) &&
        descriptorOf(*tied->rdbuf()) != STDOUT_FILENO)
        tied->flush();
}

bool insertInTurn(std::streambuf& buffer, int descriptor, Output& output, const char* text,
                  std::streamsize length) {
    const KXLockGuard lock(output.mutex);
    const bool wasStalled = output.isStalled.load(std::memory_order_relaxed);
    const bool hasRoom = &output != &errors || waitForRoom(descriptor, wasStalled ? 0 : patienceMs);
    output.isStalled.store(true, std::memory_order_relaxed);
    const bool isThrough = hasRoom && insert(buffer, text, length);
    output.isStalled.store(!hasRoom, std::memory_order_relaxed);
    return isThrough;
}

// \return whether the text got through
bool insert(const std::ostream& stream, Output& output, const char* text, std::streamsize length) {
    try {
        flushTied(stream.tie());
        std::streambuf& buffer = *stream.rdbuf();
        const int descriptor = descriptorOf(buffer);
        return descriptor < 0 ? insert(buffer, text, length)
                              : insertInTurn(buffer, descriptor, output, text, length);
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace

LinePiece::LinePiece(int number)
    : LinePiece(static_cast<std::uintptr_t>(std::abs(std::int64_t{number})), 10, number < 0 ? "-" : "") {}

LinePiece::LinePiece(unsigned int number) : LinePiece(number, 10, "") {}

LinePiece::LinePiece(const void* pointer)
    : LinePiece(reinterpret_cast<std::uintptr_t>(pointer), 16, pointer ? "0x" : "") {}

LinePiece::LinePiece(std::uintptr_t number, unsigned int base, std::string_view prefix) {
    char* begin = std::end(digits);
    do
        *--begin = "0123456789abcdef"[number % base];
    while ((number /= base) != 0);
    begin -= prefix.size();
    prefix.copy(begin, prefix.size());
    text = {begin, static_cast<std::size_t>(std::end(digits) - begin)};
}

void writeLine(std::ostream& stream, std::initializer_list<LinePiece> pieces) {
    if (!stream.rdbuf() || stream.rdstate() == std::ios_base::failbit)
        return; // the application has silenced it: an output that fails sets badbit
    Output& output = &stream == &std::cerr ? errors : others;
    const unsigned int lost = output.lostLines.exchange(0, std::memory_order_relaxed);
    char text[2 * longestLine];
    const char* const what = lost == 1 ? " line lost" : " lines lost";
    std::size_t length = lost == 0 ? 0 : compose(text, {"KXAPI_Events: ", lost, what});
    length += compose(text + length, pieces);

    const BlockedSignal pipeSignal(SIGPIPE);
    if (!insert(stream, output, text, static_cast<std::streamsize>(length)))
        output.lostLines.fetch_add(lost + 1, std::memory_order_relaxed);
}

} // namespace KX

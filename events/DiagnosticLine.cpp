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

// On standard error and on any other stream, since the last line that got through there.
std::atomic<unsigned int> lostOnError{0}, lostElsewhere{0};

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

// Of the buffer that standard error has from the start; -1: the application has given it another one.
int descriptorOf(std::streambuf& buffer) {
    if (dynamic_cast<__gnu_cxx::stdio_sync_filebuf<char>*>(&buffer))
        return STDERR_FILENO;
    auto* const own = dynamic_cast<__gnu_cxx::stdio_filebuf<char>*>(&buffer); // without the C library's buffer
    return own ? own->fd() : -1;
}

// As long as a debug message waits. A reader that is alive empties a pipe within this time.
constexpr int patienceMs = 100;

KXStdMutex errorMutex; // of two lines that see the same room, one would wait
bool isErrorStalled KX_GUARDED_BY(errorMutex) = false;

bool insertIfRoom(std::streambuf& buffer, int descriptor, const char* text, std::streamsize length) {
    const KXLockGuard lock(errorMutex);
    const bool hasRoom = waitForRoom(descriptor, isErrorStalled ? 0 : patienceMs);
    isErrorStalled = !hasRoom;
    return hasRoom && insert(buffer, text, length);
}

// \return whether the text got through
bool insert(const std::ostream& stream, const char* text, std::streamsize length) {
    try {
        if (stream.tie() && stream.tie()->good())
            stream.tie()->flush();
        std::streambuf& buffer = *stream.rdbuf();
        const int descriptor = &stream == &std::cerr ? descriptorOf(buffer) : -1;
        return descriptor < 0 ? insert(buffer, text, length) : insertIfRoom(buffer, descriptor, text, length);
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
    std::atomic<unsigned int>& linesLost = &stream == &std::cerr ? lostOnError : lostElsewhere;
    const unsigned int lost = linesLost.exchange(0, std::memory_order_relaxed);
    char text[2 * longestLine];
    const char* const what = lost == 1 ? " line lost" : " lines lost";
    std::size_t length = lost == 0 ? 0 : compose(text, {"KXAPI_Events: ", lost, what});
    length += compose(text + length, pieces);

    const BlockedSignal pipeSignal(SIGPIPE);
    if (!insert(stream, text, static_cast<std::streamsize>(length)))
        linesLost.fetch_add(lost + 1, std::memory_order_relaxed);
}

} // namespace KX

#pragma once

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string_view>

namespace KX {

/// A piece of a diagnostic line: text, a number in decimal, or a pointer in hexadecimal with 0x (0 for null).
class LinePiece {
public:
    LinePiece(const char* pieceText) : text(pieceText) {}
    explicit LinePiece(std::string_view pieceText) : text(pieceText) {}
    LinePiece(int number);
    LinePiece(unsigned int number);
    LinePiece(const void* pointer);

    LinePiece(const LinePiece&) = delete;
    LinePiece& operator=(const LinePiece&) = delete;

    std::string_view text;

private:
    LinePiece(std::uintptr_t number, unsigned int base, std::string_view prefix);

    char digits[20]; // holds a pointer of 64 bits with its 0x
};

/// Composes a line, inserts it into the buffer of \p stream in one piece and flushes. Characters after the 511th are
/// dropped. Any thread: lines of several threads do not mix on the standard streams. The stream's state and settings
/// (base, width, fill, locale, exceptions) do not affect the line and do not change. A stream with failbit alone or
/// without a buffer is silent. An output whose reader has gone loses the line, but neither ends the program nor
/// throws. The next line that gets through follows one that tells of the loss: "KXAPI_Events: 2 lines lost". A
/// reader that does not read makes the calling thread wait as soon as the pipe is full: on standard error for 100 ms,
/// then the line is lost, and each further one at once until one gets through; on any other stream until it reads.
///
/// What a tied stream holds is flushed first. Standard output is not while a line waits for its reader, nor after
/// std::ios_base::sync_with_stdio(false): its buffer is then for one thread at a time, and may be the application's.
void writeLine(std::ostream& stream, std::initializer_list<LinePiece> pieces);

} // namespace KX

#pragma once

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
    char digits[20]; // holds a pointer of 64 bits with its 0x
};

/// Composes a line, inserts it into \p stream in one piece and flushes. Characters after the 511th are dropped.
/// Any thread: lines of several threads do not mix on the standard streams. The stream's settings (base, width,
/// fill, locale) do not affect the line and do not change.
void writeLine(std::ostream& stream, std::initializer_list<LinePiece> pieces);

} // namespace KX

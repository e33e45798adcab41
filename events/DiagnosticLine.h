#pragma once

#include <initializer_list>
#include <ostream>
#include <string_view>

namespace KX {

/// A piece of a diagnostic line: text, a number in decimal, or a pointer in hexadecimal with 0x (0 for null).
class LinePiece {
public:
    LinePiece(const char* pieceText) : text(pieceText) {}
    LinePiece(int number);
    LinePiece(unsigned int number);
    LinePiece(const void* pointer);

    LinePiece(const LinePiece&) = delete;
    LinePiece& operator=(const LinePiece&) = delete;

    std::string_view text;

private:
    char digits[20]; // holds a pointer of 64 bits with its 0x
};

/// Writes one line: composes it with its line end, hands it to \p stream in one insertion, and flushes.
///
/// Any thread: lines of several threads do not mix on the standard streams. The stream's settings (base, width, fill,
/// locale) neither change the line nor are changed. A line has at most 511 characters; what is longer is cut.
void writeLine(std::ostream& stream, std::initializer_list<LinePiece> pieces);

} // namespace KX

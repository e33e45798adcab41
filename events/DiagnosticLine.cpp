#include "events/DiagnosticLine.h"

#include <charconv>
#include <cstdint>

namespace KX {

LinePiece::LinePiece(int number) {
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    text = {digits, static_cast<std::size_t>(end - digits)};
}

LinePiece::LinePiece(unsigned int number) {
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    text = {digits, static_cast<std::size_t>(end - digits)};
}

LinePiece::LinePiece(const void* pointer) {
    char* begin = digits;
    if (pointer) {
        *begin++ = '0';
        *begin++ = 'x';
    }
    const auto end =
        std::to_chars(begin, digits + sizeof digits, reinterpret_cast<std::uintptr_t>(pointer), 16).ptr;
    text = {digits, static_cast<std::size_t>(end - digits)};
}

void writeLine(std::ostream& stream, std::initializer_list<LinePiece> pieces) {
    char line[512];
    std::size_t length = 0;
    for (const LinePiece& piece : pieces)
        length += piece.text.copy(line + length, sizeof line - 1 - length);
    line[length++] = '\n';
    // Unformatted: operator<< would pad the line to the application's width and reset that width.
    stream.write(line, static_cast<std::streamsize>(length));
    stream.flush();
}

} // namespace KX

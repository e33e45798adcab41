#pragma once

/// Ends one stretch of the program and begins the next: whoever counts instructions looks for calls of this.
extern "C" void footprintMark();

/// Prints what is mapped where, which tells whose an instruction is, and an empty line; then waits for the end of the
/// standard input, so that the memory can be looked at. After the last mark.
/// \return whether it could be printed
bool printMap();

#pragma once

/// Ends one stretch of the program and begins the next: whoever counts instructions looks for calls of this.
extern "C" void footprintMark();

/// Prints what is mapped where, which tells whose an instruction is. After the last mark.
/// \return whether it could be printed
bool printMap();

#pragma once

#include <string>

namespace Output {

/// Gives a program that was started without standard input, output or error something that fails in their place.
/// Without that, the next file it opens would take the place, and what is printed would go into that file. Call it
/// first.
void guardStandardDescriptors();

/// Writes to standard output.
/// \throws std::runtime_error  "standard output: why"
void write(const std::string& text);

/// For messages: a name that the user typed may contain line ends.
std::string asOneLine(std::string text);

/// Only this shows whether everything was written.
/// \throws std::runtime_error
void flush();

} // namespace Output

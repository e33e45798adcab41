#pragma once

#include "terminal/session/CommandLine.h"

class QApplication;

namespace Terminal {

/// Runs the terminal with \p settings until its window is closed, it is told to end, or its time is over.
/// \return exit status: 0; 1 when the system refuses what it needs; 2 when the picture cannot be written
int runTerminal(QApplication& application, const CommandLine& settings);

} // namespace Terminal

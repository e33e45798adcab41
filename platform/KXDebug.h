#pragma once

#include "platform/KXExport.h"

#include <string>

namespace KX {

/// The debug service of the terminal: messages in named sections.
///
/// A platform provides both functions. It decides which levels it shows and where. Any thread may call, static
/// initialisers and destructors of any library included, in whatever order libraries are loaded.
class KX_UTILITY_API KXDebug {
public:
    /// Registers a section. May take a lock and allocate memory.
    /// \return its key, which is the same for the same name and stays valid for the life of the process
    static unsigned int insertNewDebugSection(const std::string& name);

    /// Prints a message of a section if the section shows its level. Otherwise it must cost no formatting, no lock
    /// and no allocation, because the event queues trace every event.
    ///
    /// Must not wait for the reader of the output for longer than an operator notices, and must not end the program
    /// when that reader has gone, or when a file has the size that the process may write. A message that cannot be
    /// printed is lost. Leaves errno alone.
    ///
    /// The Linux platform prints to standard error. It waits up to 100 ms for room, and not at all while lines are
    /// being lost. Before the next line that gets through it prints one like "[kx_debug:1] 3 lines lost". Where /proc
    /// is missing, or another user made the pipe or terminal, a line may wait longer: another program may fill the
    /// output between the look for room and the write, and a terminal may have room for a part of the line only.
    /// \param level   1 (error) to 4 (trace)
    /// \param key     from \ref insertNewDebugSection; messages of an unknown key are printed, too
    /// \param format  as for printf; a line end is not needed. Stays the caller's
    static void debugPrintError(int level, unsigned int key, const char* format, ...)
        __attribute__((format(printf, 3, 4)));
};

} // namespace KX

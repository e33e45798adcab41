#pragma once

#include "platform/KXExport.h"

#include <string>

namespace KX {

/// The terminal's debug service: messages in named sections, each with a level of its own.
///
/// Level 1 is errors, level 4 traces; which levels are shown is the service's business. Any thread may call,
/// static initialisers included, whatever the order in which libraries are loaded.
class KX_UTILITY_API KXDebug {
public:
    /// Names a section.
    /// \return its key, the same for the same name; valid for the life of the process
    static unsigned int insertNewDebugSection(const std::string& name);

    /// Prints a message of a section when its level is enabled; otherwise costs no formatting, no lock and no
    /// allocation, because the event queues trace every event.
    /// \param level   1 (error) to 4 (trace)
    /// \param key     from \ref insertNewDebugSection
    /// \param format  as for printf
    static void debugPrintError(int level, unsigned int key, const char* format, ...)
        __attribute__((format(printf, 3, 4)));
};

} // namespace KX

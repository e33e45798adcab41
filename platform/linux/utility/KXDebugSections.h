#pragma once

#include <string>

namespace KX {

/// The sections of the debug service: names, keys and levels.
///
/// Works from the first static initialiser to the last static destructor of any library. Keys count from 1, so
/// the 0 of a key that its owner has not fetched yet is no section's.
class KXDebugSections {
public:
    KXDebugSections() = delete;

    /// \return the key of the section, a new one for a new name. Takes a lock.
    static unsigned int insert(const std::string& name);

    /// Whether a message is to be shown. Takes no lock and allocates nothing for a key from \ref insert.
    static bool isShown(int level, unsigned int key);

    /// Valid for ever; "?" for a key that no section has. Takes no lock.
    static const char* getName(unsigned int key);
};

} // namespace KX

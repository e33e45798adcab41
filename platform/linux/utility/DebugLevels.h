#pragma once

#include <map>
#include <string>
#include <vector>

namespace KX {

/// The levels that are shown, by the environment variable KX_DEBUG: "section=level,section=level,*=level".
///
/// A name beats "*" in any order. Of two entries for one name the later counts. Blanks around names and levels are
/// ignored, and so are empty entries.
class DebugLevels {
public:
    /// \param setting   the value of the variable
    /// \param mistakes  gets a text, without line end, for each entry that is wrong; the others count
    DebugLevels(const std::string& setting, std::vector<std::string>& mistakes);

    /// The highest level that a section shows: 0 (none) to 4 (all); 1 by default.
    int getLevel(const std::string& section) const;

    /// The highest level that any section shows.
    int getHighestLevel() const;

private:
    /// \return what is wrong with the entry; empty when it was taken
    std::string takeEntry(const std::string& entry);

    std::map<std::string, int> levels;
    int levelOfOthers = 1;
};

} // namespace KX

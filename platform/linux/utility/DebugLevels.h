#pragma once

#include <map>
#include <string>
#include <vector>

namespace KX {

/// Which levels are shown, as the environment variable KX_DEBUG says it: "section=level,section=level,*=level".
///
/// A name beats "*" wherever the two stand; of two entries for one name the later counts. Blanks around names
/// and levels and empty entries mean nothing.
class DebugLevels {
public:
    /// \param setting   the value of the variable
    /// \param mistakes  gets a text, without line end, for each entry that means nothing; the others count
    DebugLevels(const std::string& setting, std::vector<std::string>& mistakes);

    /// The highest level of a section that is shown: 0 (none) to 4 (all); 1 where nothing was said.
    int getLevel(const std::string& section) const;

    /// No section's level is higher.
    int getHighestLevel() const;

private:
    /// \return what is wrong with the entry; empty when it was taken
    std::string takeEntry(const std::string& entry);

    std::map<std::string, int> levels;
    int levelOfOthers = 1;
};

} // namespace KX

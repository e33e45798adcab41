#include "platform/linux/utility/DebugLevels.h"

#include <algorithm>
#include <cstddef>

namespace KX {

namespace {

constexpr char anySection[] = "*";

std::string trim(const std::string& text) {
    constexpr char blanks[] = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return std::string();
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::size_t begin = 0;
    for (;;) {
        const std::size_t end = text.find(separator, begin);
        parts.push_back(trim(text.substr(begin, end - begin)));
        if (end == std::string::npos)
            return parts;
        begin = end + 1;
    }
}

/// In quotes and without control characters, so that the message stays one line.
std::string quote(const std::string& entry) {
    std::string quoted = "\"";
    for (const char character : entry) {
        const bool isControl = static_cast<unsigned char>(character) < 0x20 || character == 0x7f;
        quoted += isControl ? '?' : character;
    }
    return quoted + "\"";
}

} // namespace

DebugLevels::DebugLevels(const std::string& setting, std::vector<std::string>& mistakes) {
    for (const std::string& entry : split(setting, ',')) {
        const std::string mistake = takeEntry(entry);
        if (!mistake.empty())
            mistakes.push_back("KX_DEBUG: " + quote(entry) + " is ignored: " + mistake);
    }
}

std::string DebugLevels::takeEntry(const std::string& entry) {
    if (entry.empty())
        return std::string();
    const std::size_t equals = entry.find('=');
    if (equals == std::string::npos)
        return "expected section=level";
    const std::string section = trim(entry.substr(0, equals));
    const std::string level = trim(entry.substr(equals + 1));
    if (section.empty())
        return "the name of the section is missing";
    if (level.size() != 1 || level[0] < '0' || level[0] > '4')
        return "the level must be a number from 0 (nothing) to 4 (everything)";
    const int number = level[0] - '0';
    if (section == anySection)
        levelOfOthers = number;
    else
        levels[section] = number;
    return std::string();
}

int DebugLevels::getLevel(const std::string& section) const {
    const auto found = levels.find(section);
    return found == levels.end() ? levelOfOthers : found->second;
}

int DebugLevels::getHighestLevel() const {
    int highest = levelOfOthers;
    for (const auto& [section, level] : levels)
        highest = std::max(highest, level);
    return highest;
}

} // namespace KX

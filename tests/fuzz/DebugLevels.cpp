#include "platform/linux/utility/DebugLevels.h"
#include "Targets.h"

#include <algorithm>
#include <sstream>

namespace Fuzz {

namespace {

std::string trimmed(const std::string& text) {
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    const auto begin = std::find_if_not(text.begin(), text.end(), isBlank);
    const auto end = std::find_if_not(text.rbegin(), std::make_reverse_iterator(begin), isBlank).base();
    return {begin, end};
}

struct Expected {
    std::vector<std::pair<std::string, int>> levels; // the later one counts
    std::size_t mistakes = 0;

    explicit Expected(const std::string& setting) {
        std::string entry;
        for (const char character : setting + ",") {
            if (character != ',') {
                entry += character;
                continue;
            }
            take(trimmed(entry));
            entry.clear();
        }
    }

    void take(const std::string& entry) {
        if (entry.empty())
            return;
        const std::size_t equals = entry.find('=');
        const bool hasBoth = equals != std::string::npos;
        const std::string name = trimmed(entry.substr(0, equals));
        const std::string level = hasBoth ? trimmed(entry.substr(equals + 1)) : "";
        const bool isLevel = level.size() == 1 && level[0] >= '0' && level[0] <= '4';
        if (hasBoth && !name.empty() && isLevel)
            levels.emplace_back(name, level[0] - '0');
        else
            ++mistakes;
    }

    int levelOf(const std::string& section) const {
        for (const std::string& wanted : {section, std::string("*")})
            for (auto entry = levels.rbegin(); entry != levels.rend(); ++entry)
                if (entry->first == wanted)
                    return entry->second;
        return 1;
    }
};

bool isOneLine(const std::string& text) {
    return std::none_of(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; });
}

} // namespace

std::string problemWithDebugLevels(const std::string& bytes) {
    const std::string setting = bytes.substr(0, bytes.find('\0')); // the system ends a variable there
    std::vector<std::string> mistakes;
    const KX::DebugLevels levels(setting, mistakes);
    const Expected expected(setting);
    if (mistakes.size() != expected.mistakes)
        return std::to_string(mistakes.size()) + " mistakes are told, not " + std::to_string(expected.mistakes);
    if (!std::all_of(mistakes.begin(), mistakes.end(), &isOneLine))
        return "a mistake is told with control characters";
    int highest = expected.levelOf("*");
    for (const auto& [name, level] : expected.levels) {
        if (name != "*" && levels.getLevel(name) != expected.levelOf(name))
            return "'" + name + "' has another level than the last one";
        highest = std::max(highest, expected.levelOf(name));
    }
    if (levels.getLevel("no such section") != expected.levelOf("no such section"))
        return "other sections have another level than *";
    return levels.getHighestLevel() == highest ? "" : "the highest level is another one";
}

} // namespace Fuzz

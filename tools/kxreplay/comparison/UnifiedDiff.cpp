#include "tools/kxreplay/comparison/UnifiedDiff.h"

#include <algorithm>
#include <cstddef>
#include <unordered_map>
#include <vector>

#include <dtl/dtl.hpp>

namespace Replay {

namespace {

using Lines = std::vector<std::string_view>;

constexpr std::size_t contextLines = 3;

// Lines keep their line ends, so that a last line without one differs.
Lines linesOf(std::string_view text) {
    Lines lines;
    while (!text.empty()) {
        const std::size_t length = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.push_back(text.substr(0, length));
        text.remove_prefix(length);
    }
    return lines;
}

/// Gives equal lines the same number, because numbers are compared quickly.
class LineNumbers {
public:
    std::vector<int> of(const Lines& lines) {
        std::vector<int> all;
        all.reserve(lines.size());
        for (const std::string_view line : lines)
            all.push_back(numbers.emplace(line, static_cast<int>(numbers.size())).first->second);
        return all;
    }

private:
    std::unordered_map<std::string_view, int> numbers;
};

/// The lines that stay. All others are removed or added.
struct Kept {
    std::vector<bool> ofOld;
    std::vector<bool> ofNew;
};

// The shortest difference. If more than some thousand lines differ, DTL goes on from where it is: the difference is
// then right, but perhaps not the shortest, and memory stays bounded.
Kept findKept(const Lines& oldLines, const Lines& newLines) {
    Kept kept{std::vector<bool>(oldLines.size()), std::vector<bool>(newLines.size())};
    LineNumbers numbers;
    dtl::Diff<int, std::vector<int>> diff(numbers.of(oldLines), numbers.of(newLines));
    diff.onHuge();
    diff.compose();
    std::size_t i = 0;
    std::size_t j = 0;
    for (const auto& [line, place] : diff.getSes().getSequence()) {
        const bool stays = place.type == dtl::SES_COMMON;
        if (place.type != dtl::SES_ADD)
            kept.ofOld[i++] = stays;
        if (place.type != dtl::SES_DELETE)
            kept.ofNew[j++] = stays;
    }
    return kept;
}

struct Change {
    char mark;
    std::size_t oldLine; // number of lines before it in the old text
    std::size_t newLine;
    std::string_view text;
};

std::vector<Change> allLines(const Lines& oldLines, const Lines& newLines) {
    const Kept kept = findKept(oldLines, newLines);
    std::vector<Change> changes;
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < oldLines.size() || j < newLines.size()) {
        if (i < oldLines.size() && !kept.ofOld[i]) {
            changes.push_back({'-', i, j, oldLines[i]});
            ++i;
        } else if (j < newLines.size() && !kept.ofNew[j]) {
            changes.push_back({'+', i, j, newLines[j]});
            ++j;
        } else {
            changes.push_back({' ', i, j, oldLines[i]});
            ++i;
            ++j;
        }
    }
    return changes;
}

// Line numbers start at 1. An empty range has the number of the line before it.
std::string range(std::size_t before, std::size_t count) {
    const std::string start = std::to_string(count == 0 ? before : before + 1);
    return count == 1 ? start : start + "," + std::to_string(count);
}

using Place = std::vector<Change>::const_iterator;

std::string formatHunk(Place begin, Place end) {
    const auto inNew = static_cast<std::size_t>(std::count_if(
        begin, end, [](const Change& c) { return c.mark != '-'; }));
    const auto inOld =
        static_cast<std::size_t>(std::count_if(begin, end, [](const Change& c) { return c.mark != '+'; }));
    std::string text = "@@ -" + range(begin->oldLine, inOld) + " +" + range(begin->newLine, inNew) + " @@\n";
    for (; begin != end; ++begin) {
        text += begin->mark;
        text += begin->text;
        if (begin->text.back() != '\n')
            text += "\n\\ No newline at end of file\n";
    }
    return text;
}

bool isChange(const Change& change) {
    return change.mark != ' ';
}

// Changes whose contexts touch share a hunk.
Place endOfHunk(Place lastChange, Place end) {
    for (;;) {
        const Place next = std::find_if(lastChange + 1, end, isChange);
        const auto between = static_cast<std::size_t>(next - lastChange - 1);
        if (next == end || between > 2 * contextLines)
            return lastChange + 1 + static_cast<std::ptrdiff_t>(std::min(between, contextLines));
        lastChange = next;
    }
}

} // namespace

std::string unifiedDiff(std::string_view oldText, const std::string& oldName, std::string_view newText,
                        const std::string& newName) {
    if (oldText == newText)
        return {};
    std::string text = "--- " + oldName + "\n+++ " + newName + "\n";
    const std::vector<Change> changes = allLines(linesOf(oldText), linesOf(newText));
    Place done = changes.begin();
    for (;;) {
        const Place change = std::find_if(done, changes.end(), isChange);
        if (change == changes.end())
            return text;
        const Place begin = change - std::min<std::ptrdiff_t>(contextLines, change - done);
        done = endOfHunk(change, changes.end());
        text += formatHunk(begin, done);
    }
}

} // namespace Replay

#include "tools/kxreplay/UnifiedDiff.h"

#include <algorithm>
#include <cstddef>
#include <unordered_map>
#include <vector>

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

/// The lines that stay. All others are removed or added.
struct Kept {
    std::vector<bool> ofOld;
    std::vector<bool> ofNew;
};

/// The longest common sequence of lines, by the algorithm of Hunt and Szymanski. It is fast when most lines are
/// unique, as lines with a time are.
class CommonLines {
public:
    CommonLines(const Lines& oldText, const Lines& newText) : oldLines(oldText), newLines(newText) {}

    Kept find() {
        Kept kept{std::vector<bool>(oldLines.size()), std::vector<bool>(newLines.size())};
        const std::size_t begin = keepStart(kept);
        const std::size_t fromEnd = keepEnd(kept, begin);
        match(begin, fromEnd);
        for (std::size_t pair = ends.empty() ? none : ends.back(); pair != none; pair = pairs[pair].previous) {
            kept.ofOld[pairs[pair].oldLine] = true;
            kept.ofNew[pairs[pair].newLine] = true;
        }
        return kept;
    }

private:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    // For frequent lines only some places are tried. This keeps the search fast; the result is correct, but
    // perhaps not the shortest.
    static constexpr std::size_t mostPlaces = 100;

    struct Pair {
        std::size_t oldLine;
        std::size_t newLine;
        std::size_t previous; // the previous pair of the longest sequence that ends here
    };

    std::size_t keepStart(Kept& kept) const {
        std::size_t i = 0;
        for (; i < std::min(oldLines.size(), newLines.size()) && oldLines[i] == newLines[i]; ++i)
            kept.ofOld[i] = kept.ofNew[i] = true;
        return i;
    }

    std::size_t keepEnd(Kept& kept, std::size_t begin) const {
        const std::size_t most = std::min(oldLines.size(), newLines.size()) - begin;
        std::size_t i = 0;
        for (; i < most && oldLines[oldLines.size() - 1 - i] == newLines[newLines.size() - 1 - i]; ++i)
            kept.ofOld[oldLines.size() - 1 - i] = kept.ofNew[newLines.size() - 1 - i] = true;
        return i;
    }

    void match(std::size_t begin, std::size_t fromEnd) {
        std::unordered_map<std::string_view, std::vector<std::size_t>> places;
        for (std::size_t j = begin; j < newLines.size() - fromEnd; ++j) {
            std::vector<std::size_t>& those = places[newLines[j]];
            if (those.size() < mostPlaces)
                those.push_back(j);
        }
        for (std::size_t i = begin; i < oldLines.size() - fromEnd; ++i) {
            const auto those = places.find(oldLines[i]);
            if (those == places.end())
                continue;
            // Backwards, so that two of them never join one sequence.
            for (auto j = those->second.rbegin(); j != those->second.rend(); ++j)
                take(i, *j);
        }
    }

    void take(std::size_t i, std::size_t j) {
        const auto end = std::lower_bound(ends.begin(), ends.end(), j, [this](std::size_t pair, std::size_t line) {
            return pairs[pair].newLine < line;
        });
        pairs.push_back({i, j, end == ends.begin() ? none : *(end - 1)});
        if (end == ends.end())
            ends.push_back(pairs.size() - 1);
        else
            *end = pairs.size() - 1;
    }

    const Lines& oldLines;
    const Lines& newLines;
    std::vector<Pair> pairs;
    std::vector<std::size_t> ends; // by length: the pair whose sequence ends earliest in the new text
};

struct Change {
    char mark;
    std::size_t oldLine; // number of lines before it in the old text
    std::size_t newLine;
    std::string_view text;
};

std::vector<Change> allLines(const Lines& oldLines, const Lines& newLines) {
    const Kept kept = CommonLines(oldLines, newLines).find();
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

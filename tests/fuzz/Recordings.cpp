#include "Targets.h"

#include "recording/KXRecording.h"
#include "recording/format/RecordingFormat.h"
#include "support/RecordingComparison.h"

#include <algorithm>
#include <optional>
#include <sstream>

namespace Fuzz {

namespace {

using namespace KX::Recording;
using KX::Recording::test::firstDifference;

// A plain log starts at tick 1000. If its frames lie 31,000 years apart, the last one has no notation any more.
constexpr std::uint64_t firstTimeWithoutNotationMs = 1000000000000000;

struct Outcome {
    std::optional<Session> session;
    std::string words; ///< warnings and the error, a line each
};

Outcome readText(const std::string& text) {
    Outcome outcome;
    std::istringstream input(text);
    try {
        outcome.session = read(
            input, "file", [&outcome](const std::string& warning) { outcome.words += warning + "\n"; });
    } catch (const BadFile& error) {
        outcome.words += std::string(error.what()) + "\n";
    }
    return outcome;
}

std::string written(const Session& session) {
    std::string text;
    if (!session.isPlainLog)
        text = std::string(firstLine()) + "\n";
    for (const Entry& entry : session.entries)
        text += format(entry) + "\n";
    return text;
}

bool areInOrder(const std::vector<Entry>& entries) {
    return std::is_sorted(
        entries.begin(), entries.end(),
        [](const Entry& one, const Entry& other) { return one.timeMs < other.timeMs || one.line < other.line; });
}

std::string problemBetween(const Session& first, const Session& second) {
    const std::size_t different = firstDifference(first.entries, second.entries);
    if (different != first.entries.size())
        return "entry " + std::to_string(different) + " of " + std::to_string(first.entries.size()) +
               " has changed, of " + std::to_string(second.entries.size()) + " read again";
    if (first.hasPasses != second.hasPasses || first.isPlainLog != second.isPlainLog)
        return "it is another kind of session";
    return written(first) == written(second) ? "" : "written twice, it is not the same";
}

} // namespace

std::string problemWithRecording(const std::string& bytes) {
    const Outcome first = readText(bytes);
    if (!first.session)
        return isPrintable(first.words) ? "" : "what is said of it cannot be printed";
    if (!isPrintable(first.words))
        return "what is warned of cannot be printed";
    if (!areInOrder(first.session->entries))
        return "the entries are not in time order";
    if (first.session->entries.empty() || first.session->entries.back().timeMs >= firstTimeWithoutNotationMs)
        return {};
    const Outcome second = readText(written(*first.session));
    if (!second.words.empty())
        return "written down again: " + second.words;
    return problemBetween(*first.session, *second.session);
}

} // namespace Fuzz

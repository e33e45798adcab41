#include "tools/kxreplay/comparison/Comparison.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Replay {

namespace {

using KX::KXInputEvent;

constexpr std::size_t columnWidth = 57; // two columns and a mark stay below 120

bool isSame(const KXInputEvent& one, const KXInputEvent& other) {
    return formatEvent(one, Format::Text) == formatEvent(other, Format::Text);
}

// How well two events of the same input match; 0: not at all.
int kinship(const KXInputEvent& one, const KXInputEvent& other) {
    if (!isSameKey(one, other))
        return 0;
    return (one.timeStamp == other.timeStamp ? 2 : 0) + (one.eventType == other.eventType ? 2 : 0) +
           (isSame(one, other) ? 1 : 0);
}

/// Pairs the events of two short sequences in order, with the greatest sum of kinship.
class Alignment {
public:
    using Place = std::vector<PlayedEvent>::const_iterator;

    Alignment(Place recordedBegin, std::size_t recordedCount, Place changedBegin, std::size_t changedCount)
        : recorded(recordedBegin), changed(changedBegin), width(changedCount + 1),
          best((recordedCount + 1) * width) {
        for (std::size_t i = recordedCount; i-- > 0;)
            for (std::size_t j = changedCount; j-- > 0;)
                at(i, j) = std::max({at(i + 1, j), at(i, j + 1), asPair(i, j)});
    }

    bool isPair(std::size_t i, std::size_t j) {
        return kinship(recorded[difference(i)].event, changed[difference(j)].event) > 0 &&
               at(i, j) == asPair(i, j);
    }

    /// If (i, j) is no pair: whether the recorded event stands alone; otherwise the changed one does.
    bool isAlone(std::size_t i, std::size_t j) { return at(i, j) == at(i + 1, j); }

private:
    static std::ptrdiff_t difference(std::size_t index) { return static_cast<std::ptrdiff_t>(index); }

    int& at(std::size_t i, std::size_t j) { return best[i * width + j]; }

    int asPair(std::size_t i, std::size_t j) {
        return at(i + 1, j + 1) + kinship(recorded[difference(i)].event, changed[difference(j)].event);
    }

    const Place recorded;
    const Place changed;
    const std::size_t width;
    std::vector<int> best; // sums from (i, j) to the ends
};

std::string describe(const KXInputEvent& event) {
    std::string name = KX::translateEventTypeToString(event.eventType);
    const std::string ending = "_EVENT";
    if (name.size() > ending.size() && name.compare(name.size() - ending.size(), ending.size(), ending) == 0)
        name.erase(name.size() - ending.size());
    std::string text = std::to_string(event.timeStamp) + " " + name + " " + nameKey(event);
    if (isEncoderMove(event))
        text += " value=" + std::to_string(event.value) + " count=" + std::to_string(event.count);
    return text;
}

std::string inColumn(std::string text) {
    if (text.size() > columnWidth)
        text.replace(columnWidth - 3, std::string::npos, "...");
    text.resize(columnWidth, ' ');
    return text;
}

std::string formatRow(const std::string& left, const char* mark, const std::string& right) {
    std::string line = inColumn(left) + " " + mark + " " + inColumn(right);
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n";
}

const char* markOf(const Comparison::Row& row) {
    if (!row.recorded)
        return ">";
    if (!row.changed)
        return "<";
    return row.differs() ? "|" : " ";
}

std::string number(std::size_t count, const std::string& one, const std::string& more) {
    return std::to_string(count) + " " + (count == 1 ? one : more);
}

} // namespace

bool Comparison::Row::differs() const {
    return !recorded || !changed || !isSame(*recorded, *changed);
}

// Both plays have the same entries, so the events of each entry are aligned separately.
Comparison::Comparison(std::vector<PlayedEvent> recordedEvents, std::vector<PlayedEvent> changedEvents)
    : recorded(std::move(recordedEvents)), changed(std::move(changedEvents)) {
    Place left = recorded.begin();
    Place right = changed.begin();
    while (left != recorded.end() || right != changed.end()) {
        const bool leftIsFirst = right == changed.end() || (left != recorded.end() && left->entry <= right->entry);
        const std::size_t entry = (leftIsFirst ? left : right)->entry;
        const auto isLater = [entry](const PlayedEvent& event) { return event.entry != entry; };
        const Place leftEnd = std::find_if(left, recorded.end(), isLater);
        const Place rightEnd = std::find_if(right, changed.end(), isLater);
        addRows(left, leftEnd, right, rightEnd);
        left = leftEnd;
        right = rightEnd;
    }
}

void Comparison::addRows(Place recordedBegin, Place recordedEnd, Place changedBegin, Place changedEnd) {
    Alignment alignment(recordedBegin, static_cast<std::size_t>(recordedEnd - recordedBegin), changedBegin,
                        static_cast<std::size_t>(changedEnd - changedBegin));
    Place left = recordedBegin;
    Place right = changedBegin;
    while (left != recordedEnd || right != changedEnd) {
        const auto i = static_cast<std::size_t>(left - recordedBegin);
        const auto j = static_cast<std::size_t>(right - changedBegin);
        const bool bothAreThere = left != recordedEnd && right != changedEnd;
        if (bothAreThere && alignment.isPair(i, j))
            rows.push_back({&left++->event, &right++->event});
        else if (right == changedEnd || (bothAreThere && alignment.isAlone(i, j)))
            rows.push_back({&left++->event, nullptr});
        else
            rows.push_back({nullptr, &right++->event});
    }
}

const std::vector<Comparison::Row>& Comparison::getRows() const {
    return rows;
}

std::string Comparison::toText(const std::string& otherSettings) const {
    const auto textOf = [](const KXInputEvent* event) { return event ? describe(*event) : std::string(); };
    std::string text = "Other settings: " + otherSettings + "\n\n";
    text += formatRow("As recorded", " ", "With the other settings");
    for (const Row& row : rows)
        text += formatRow(textOf(row.recorded), markOf(row), textOf(row.changed));
    return text + countDifferences() + "\n";
}

std::string Comparison::countDifferences() const {
    const auto count = [this](char mark) {
        return static_cast<std::size_t>(
            std::count_if(rows.begin(), rows.end(), [mark](const Row& row) { return *markOf(row) == mark; }));
    };
    const std::size_t all = rows.size() - count(' ');
    if (all == 0)
        return "no differences in " + number(rows.size(), "event", "events");
    return number(all, "difference", "differences") + ": " + std::to_string(count('|')) + " changed (|), " +
           std::to_string(count('<')) + " only as recorded (<), " + std::to_string(count('>')) +
           " only with the other settings (>)";
}

std::string Comparison::toJSON() const {
    const auto textOf = [](const KXInputEvent* event) {
        return event ? Replay::toJSON(*event) : std::string("null");
    };
    std::string text;
    std::size_t count = 0;
    for (const Row& row : rows) {
        if (!row.differs())
            continue;
        ++count;
        text += "{\"recorded\":" + textOf(row.recorded) + ",\"changed\":" + textOf(row.changed) + "}\n";
    }
    return text + "{\"differences\":" + std::to_string(count) + "}\n";
}

} // namespace Replay

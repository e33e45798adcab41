#include "tools/kxreplay/statistics/StatisticsText.h"

#include "events/KXEventKind.h"
#include "tools/kxreplay/EventOutput.h"
#include "tools/kxreplay/statistics/Bins.h"
#include "tools/kxreplay/statistics/Grid.h"

#include <algorithm>
#include <map>
#include <vector>

namespace Replay {

namespace {

using KX::KXGesture;
using KX::KXInputDevice;
using Numbers = std::array<int, 4>;

std::string right(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::string left(std::string text, std::size_t width) {
    if (text.size() > width)
        text.replace(width - 3, std::string::npos, "...");
    text.resize(width, ' ');
    return text;
}

std::string signedCount(std::uint64_t now, std::uint64_t before) {
    if (now == before)
        return "0";
    return now > before ? "+" + withCommas(now - before) : "-" + withCommas(before - now);
}

constexpr std::size_t firstColumn = 28;
constexpr std::size_t countColumn = 12;

constexpr std::array<KXGesture, 6> shownGestures = {KXGesture::Press,     KXGesture::DoublePress,
                                                    KXGesture::LongPress, KXGesture::LongRelease,
                                                    KXGesture::Release,   KXGesture::Escape};

using ByGesture = std::map<KXGesture, std::uint64_t>;

std::string gestureRow(const std::string& name, const ByGesture& row) {
    std::string text = "  " + left(name, firstColumn - 2);
    for (const KXGesture gesture : shownGestures) {
        const auto found = row.find(gesture);
        text += right(found == row.end() ? "-" : withCommas(found->second), countColumn);
    }
    return text + "\n";
}

std::string gestures(const Counts& counts) {
    std::map<Numbers, ByGesture> rows; // by device, code and toolkit's key
    ByGesture all;
    counts.forEach(Counted::Gestures, [&](const Numbers& numbers, std::uint64_t count) {
        const auto gesture = static_cast<KXGesture>(numbers[3]);
        if (std::find(shownGestures.begin(), shownGestures.end(), gesture) == shownGestures.end())
            return;
        rows[{numbers[0], numbers[1], numbers[2]}][gesture] += count;
        all[gesture] += count;
    });
    std::string text = left("Gestures", firstColumn);
    for (const char* const title : {"press", "double", "long", "long rel.", "release", "escape"})
        text += right(title, countColumn);
    text += "\n";
    for (const auto& [numbers, row] : rows)
        text += gestureRow(nameOfSource(numbers), row);
    if (rows.empty())
        return "No key and no button was pressed.\n";
    text += gestureRow("all", all);
    return all.count(KXGesture::Escape) == 0 ? text : text + "  escape: the mouse button was let go outside\n";
}

std::uint64_t countMoves(const Counts& counts, KXInputDevice device) {
    std::uint64_t moves = 0;
    counts.forEach(Counted::Gestures, [&](const Numbers& numbers, std::uint64_t count) {
        if (numbers[0] == static_cast<int>(device) && numbers[3] == static_cast<int>(KXGesture::Move))
            moves += count;
    });
    return moves;
}

std::string moves(const Counts& counts) {
    std::uint64_t steps = 0;
    counts.forEach(Counted::Steps, [&](const Numbers&, std::uint64_t count) { steps += count; });
    return "The encoder moved " + withCommas(countMoves(counts, KXInputDevice::Encoder)) + " times, by " +
           withCommas(steps) + " steps. The pointer moved " +
           withCommas(countMoves(counts, KXInputDevice::Mouse)) + " times.\n";
}

using Rows = std::vector<std::pair<int, std::uint64_t>>; // lower ends of bins, and counts

constexpr std::size_t fewRows = 4; // so many without a count are one line

std::size_t countEmpty(const Rows& rows, std::size_t first) {
    std::size_t last = first;
    while (last < rows.size() && rows[last].second == 0)
        ++last;
    return last - first;
}

std::string histogram(const Counts& counts, Counted kind, const std::string& title) {
    constexpr std::size_t widestBar = 50;
    Rows rows;
    std::uint64_t greatest = 0;
    for (const int lower : binsOf(kind)) {
        const std::uint64_t count = counts.of(kind, {lower});
        greatest = std::max(greatest, count);
        if (count != 0 || !rows.empty())
            rows.emplace_back(lower, count);
    }
    while (!rows.empty() && rows.back().second == 0)
        rows.pop_back();
    std::string text = "\n" + title + "\n";
    if (rows.empty())
        return text + "  none\n";
    for (std::size_t index = 0; index < rows.size(); ++index) {
        const auto& [lower, count] = rows[index];
        const std::size_t empty = countEmpty(rows, index);
        if (empty >= fewRows) {
            text += "  ...\n";
            index += empty - 1;
            continue;
        }
        // A bin that is not empty has a bar.
        const std::uint64_t length = (count * widestBar + greatest - 1) / greatest;
        text += "  " + left(nameOfBin(kind, lower), firstColumn - 2) + right(withCommas(count), countColumn) +
                (count == 0 ? "" : "  " + std::string(static_cast<std::size_t>(length), '#')) + "\n";
    }
    return text;
}

std::string closeCalls(const Counts& counts, Limit limit, const char* title, const char* below, const char* above,
                       bool isReachedBelow) {
    const std::vector<int>& bins = binsOf(Counted::CloseCalls);
    std::string text = "\n" + left(title, firstColumn + 12) + right(below, 2 * countColumn) +
                       right(above, 2 * countColumn) + "\n";
    std::array<std::uint64_t, 2> sums = {}; // not reached, reached
    for (std::size_t bin = 0; bin + 1 < bins.size(); ++bin) {
        for (const int isReached : {0, 1})
            sums[static_cast<std::size_t>(isReached)] +=
                counts.of(Counted::CloseCalls, {static_cast<int>(limit), isReached, bins[bin]});
        text += "  " + left("within " + std::to_string(bins[bin + 1] - 1) + " ms", firstColumn + 10) +
                right(withCommas(sums[isReachedBelow ? 1 : 0]), 2 * countColumn) +
                right(withCommas(sums[isReachedBelow ? 0 : 1]), 2 * countColumn) + "\n";
    }
    return text;
}

std::uint64_t countGestures(const Counts& counts, KXGesture wanted) {
    std::uint64_t sum = 0;
    counts.forEach(Counted::Gestures, [&](const Numbers& numbers, std::uint64_t count) {
        sum += numbers[3] == static_cast<int>(wanted) ? count : 0;
    });
    return sum;
}

std::vector<int> gridValues(const Counts& counts, Limit limit) {
    std::vector<int> values;
    for (const Counted kind : {Counted::GridRecordings, Counted::GridImpossible})
        counts.forEach(kind, [&](const Numbers& numbers, std::uint64_t) {
            if (numbers[0] == static_cast<int>(limit))
                values.push_back(numbers[1]);
        });
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    return values;
}

std::string grid(const Counts& counts, Limit limit) {
    const std::vector<int> values = gridValues(counts, limit);
    if (values.empty())
        return {};
    const std::uint64_t doubles = countGestures(counts, KXGesture::DoublePress);
    const std::uint64_t longs = countGestures(counts, KXGesture::LongPress);
    std::string text = "\n" + left("With --" + wordOf(limit), 24);
    for (const char* const title : {"recordings", "double", "change", "long", "change", "not possible"})
        text += right(title, title == std::string("not possible") ? 14 : countColumn);
    text += "\n";
    for (const int value : values) {
        const Numbers numbers = {static_cast<int>(limit), value};
        const std::uint64_t played = counts.of(Counted::GridRecordings, numbers);
        const std::uint64_t impossible = counts.of(Counted::GridImpossible, numbers);
        const std::uint64_t newDoubles = counts.of(Counted::GridDoubles, numbers);
        const std::uint64_t newLongs = counts.of(Counted::GridLongs, numbers);
        // Without all recordings the sums cannot be compared.
        const bool hasAll = impossible == 0 && played == counts.of(Counted::Recordings);
        text += "  " + left(std::to_string(value) + " ms", 22) + right(withCommas(played), countColumn) +
                right(withCommas(newDoubles), countColumn) +
                right(hasAll ? signedCount(newDoubles, doubles) : "-", countColumn) +
                right(withCommas(newLongs), countColumn) +
                right(hasAll ? signedCount(newLongs, longs) : "-", countColumn) +
                right(impossible == 0 ? "-" : withCommas(impossible), 14) + "\n";
    }
    return text;
}

std::string explainGrids(const Counts& counts) {
    const auto has = [&counts](Counted kind) {
        bool found = false;
        counts.forEach(kind, [&found](const Numbers&, std::uint64_t) { found = true; });
        return found;
    };
    std::string text;
    if (has(Counted::GridRecordings))
        text += "  change: from the gestures above, with the recorded limits unless other ones are given\n";
    if (has(Counted::GridImpossible))
        text += "  not possible: recordings in which the double press would not be shorter than the long press\n";
    return text;
}

} // namespace

std::string withCommas(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t place = text.size(); place > 3; place -= 3)
        text.insert(place - 3, ",");
    return text;
}

std::string nameOfBin(Counted kind, int lower) {
    const std::vector<int>& bins = binsOf(kind);
    const auto next = std::upper_bound(bins.begin(), bins.end(), lower);
    const std::string unit = kind == Counted::StepTimes ? " ms a step" : " ms";
    if (next == bins.end())
        return std::to_string(lower) + unit + " or more";
    return std::to_string(lower) + " to " + std::to_string(*next - 1) + unit;
}

std::string nameOfSource(const Numbers& numbers) {
    KX::KXInputEvent event;
    const auto device = static_cast<KXInputDevice>(numbers[0]);
    event.eventType = device == KXInputDevice::Mouse     ? KX::MOUSE_PRESS_EVENT
                      : device == KXInputDevice::Encoder ? KX::ENCODER_MOVE_EVENT
                                                         : KX::KEY_PRESS_EVENT;
    event.keyCode = numbers[1];
    event.eventData[1] = static_cast<unsigned int>(numbers[1]);
    event.osKeyCode = numbers[2];
    return nameKey(event);
}

std::string nameOfAll(const Counts& counts) {
    const std::uint64_t recordings = counts.of(Counted::Recordings);
    const std::uint64_t seconds = counts.of(Counted::Milliseconds) / 1000;
    std::string text = withCommas(recordings) + (recordings == 1 ? " recording" : " recordings") + " of ";
    if (seconds >= 3600)
        text += withCommas(seconds / 3600) + " h " + std::to_string(seconds / 60 % 60) + " min";
    else
        text += std::to_string(seconds / 60) + " min " + std::to_string(seconds % 60) + " s";
    if (const std::uint64_t warnings = counts.of(Counted::Warnings))
        text += "; " + withCommas(warnings) + " cut off or of a newer version";
    if (const std::uint64_t leftOut = counts.of(Counted::LeftOut))
        text += "; " + withCommas(leftOut) + " more left out";
    return text;
}

std::string toText(const Counts& counts) {
    return nameOfAll(counts) + "\n\n" + gestures(counts) + moves(counts) +
           histogram(counts, Counted::Gaps, "From a press to the next press of the same key") +
           histogram(counts, Counted::Holds, "From a press to its release") +
           histogram(counts, Counted::StepTimes, "Speed of the encoder, in steps") +
           closeCalls(counts, Limit::DoublePress, "Second presses near the limit", "in time: double", "too late",
                      true) +
           closeCalls(counts, Limit::LongPress, "Releases near the limit of a long press", "too early",
                      "after it: long", false) +
           grid(counts, Limit::DoublePress) + grid(counts, Limit::LongPress) + explainGrids(counts);
}

} // namespace Replay

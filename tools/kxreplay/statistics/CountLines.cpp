#include "tools/kxreplay/statistics/CountLines.h"

#include "recording/format/LineReader.h"
#include "recording/format/Text.h"
#include "tools/arguments/BadInput.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>
#include <vector>

namespace Replay {

namespace {

// A JSON number is exact up to here.
constexpr double greatestCount = 9007199254740992.0;

struct Field {
    const char* name;
    std::vector<const char*> words; // of the numbers from 0 on; none: the number itself
};

struct Line {
    Counted kind;
    const char* is;
    std::vector<Field> fields; // of the numbers of the cell
};

const std::vector<Line>& lines() {
    static const Field device = {"device", {"none", "key", "mouse", "encoder"}};
    static const Field gesture = {"gesture",
                                  {"none", "press", "double press", "long press", "release", "long release",
                                   "move", "enter", "exit", "escape"}};
    static const Field limit = {"limit", {"double-press", "long-press"}};
    static const Field reached = {"reached", {"no", "yes"}};
    static const Field from = {"fromMs", {}};
    static const Field value = {"valueMs", {}};
    static const std::vector<Line> all = {
        {Counted::Recordings, "recordings", {}},
        {Counted::Milliseconds, "ms", {}},
        {Counted::Warnings, "recordings with a warning", {}},
        {Counted::LeftOut, "recordings left out", {}},
        {Counted::Gestures, "gesture", {device, {"code", {}}, {"os", {}}, gesture}},
        {Counted::Steps, "steps", {{"key", {}}}},
        {Counted::Gaps, "gap", {from}},
        {Counted::Holds, "hold", {from}},
        {Counted::StepTimes, "step time", {from}},
        {Counted::CloseCalls, "close call", {limit, reached, from}},
        {Counted::GridRecordings, "grid recordings", {limit, value}},
        {Counted::GridDoubles, "grid double presses", {limit, value}},
        {Counted::GridLongs, "grid long presses", {limit, value}},
        {Counted::GridImpossible, "grid impossible", {limit, value}},
    };
    return all;
}

std::string valueOf(const Field& field, int number) {
    return field.words.empty() ? std::to_string(number)
                               : "\"" + std::string(field.words.at(static_cast<std::size_t>(number))) + "\"";
}

std::optional<int> parseNumber(const QJsonValue& value) {
    const double number = value.toDouble(0.5);
    const bool fits = number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max();
    return fits && std::trunc(number) == number ? std::optional<int>(static_cast<int>(number)) : std::nullopt;
}

std::optional<int> parseValue(const Field& field, const QJsonValue& value) {
    if (field.words.empty())
        return parseNumber(value);
    const std::string word = value.toString().toStdString();
    const auto found = std::find(field.words.begin(), field.words.end(), word);
    return found == field.words.end() ? std::nullopt
                                      : std::optional<int>(static_cast<int>(found - field.words.begin()));
}

void addLine(std::string_view text, Counts& counts) {
    const QByteArray bytes(text.data(), static_cast<int>(text.size()));
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    const std::string is = document.object()["is"].toString().toStdString();
    const auto line =
        std::find_if(lines().begin(), lines().end(), [&is](const Line& candidate) { return is == candidate.is; });
    if (line == lines().end())
        throw std::runtime_error("this is no line of kxreplay --statistics --json");
    std::array<int, 4> numbers = {};
    for (std::size_t index = 0; index < line->fields.size(); ++index) {
        const auto number = parseValue(line->fields[index], document.object()[line->fields[index].name]);
        if (!number)
            throw std::runtime_error(std::string("the field '") + line->fields[index].name +
                                     "' is missing or has no valid value");
        numbers[index] = *number;
    }
    const double count = document.object()["count"].toDouble(-1);
    if (count < 0 || count > greatestCount || std::trunc(count) != count)
        throw std::runtime_error("the field 'count' is missing or has no valid value");
    counts.add(line->kind, numbers, static_cast<std::uint64_t>(count));
}

} // namespace

std::string toLines(const Counts& counts) {
    std::string text;
    for (const auto& [cell, count] : counts.all()) {
        const Line& line =
            *std::find_if(lines().begin(), lines().end(),
                          [kind = cell.kind](const Line& candidate) { return candidate.kind == kind; });
        text += std::string("{\"is\":\"") + line.is + "\"";
        for (std::size_t index = 0; index < line.fields.size(); ++index)
            text += std::string(",\"") + line.fields[index].name +
                    "\":" + valueOf(line.fields[index], cell.numbers[index]);
        text += ",\"count\":" + std::to_string(count) + "}\n";
    }
    return text;
}

void addLines(std::istream& input, const std::string& name, Counts& counts) {
    KX::Text::LineReader reader(input);
    std::size_t number = 0;
    try {
        for (std::string_view line; ++number, reader.next(line);)
            if (!line.empty())
                addLine(line, counts);
    } catch (const std::runtime_error& error) {
        throw Arguments::BadInput(name + ":" + std::to_string(number) + ": " + error.what());
    }
    if (input.bad())
        throw Arguments::BadInput(name + ": " + KX::Text::whyUnreadable());
}

} // namespace Replay

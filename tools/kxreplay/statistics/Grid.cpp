#include "tools/kxreplay/statistics/Grid.h"

#include "recording/KXSettingTable.h"
#include "recording/format/Text.h"
#include "tools/arguments/BadInput.h"

#include <limits>
#include <string_view>

namespace Replay {

namespace {

constexpr unsigned int greatestMs = std::numeric_limits<int>::max();

bool parseRange(std::string_view text, unsigned int& first, unsigned int& last, unsigned int& step) {
    const std::size_t dots = text.find("..");
    if (dots == std::string_view::npos) {
        step = 1;
        const bool isNumber = KX::Text::parseNumber(text, 10, first);
        last = first;
        return isNumber && last <= greatestMs;
    }
    std::string_view rest = text.substr(dots + 2);
    const std::string_view lastText = KX::Text::takeUntil(rest, ':');
    return KX::Text::parseNumber(text.substr(0, dots), 10, first) && KX::Text::parseNumber(lastText, 10, last) &&
           KX::Text::parseNumber(rest, 10, step) && step > 0 && first <= last && last <= greatestMs;
}

} // namespace

Grid Grid::parse(const std::string& text) {
    std::string_view range = text;
    const std::string_view word = KX::Text::takeUntil(range, '=');
    const bool isDouble = word == wordOf(Limit::DoublePress);
    unsigned int first = 0;
    unsigned int last = 0;
    unsigned int step = 0;
    if ((!isDouble && word != wordOf(Limit::LongPress)) || !parseRange(range, first, last, step))
        throw Arguments::BadInput("--grid: " + KX::Text::quoted(text) +
                                  " is not like double-press=200..400:25 or long-press=1500..2500:250");
    if ((last - first) / step >= mostValues)
        throw Arguments::BadInput("--grid: " + KX::Text::quoted(text) + " has more than " +
                                  std::to_string(mostValues) + " values");
    Grid grid;
    grid.limit = isDouble ? Limit::DoublePress : Limit::LongPress;
    for (unsigned int index = 0; index <= (last - first) / step; ++index)
        grid.valuesMs.push_back(first + index * step);
    return grid;
}

std::string wordOf(Limit limit) {
    return std::string(KX::settingRow(limit == Limit::DoublePress ? KX::KXInputSetting::DoubleKeyPressDuration
                                                                  : KX::KXInputSetting::LongKeyPressDuration)
                           .word);
}

} // namespace Replay

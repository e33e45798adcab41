#include "recording/KXKeyLayout.h"
#include "recording/KXSettingTable.h"
#include "recording/format/RecordingFields.h"
#include "recording/format/RecordingFormat.h"
#include "recording/format/Text.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace KX::Recording {

namespace {

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what);
}

void mustBeAtEnd(std::string_view words) {
    if (!words.empty())
        fail("unexpected " + Text::quoted(words) + " at the end");
}

NumberSetting parseNumberSetting(const KXSettingRow& row, std::string_view words) {
    const std::string_view text = Text::takeWord(words);
    mustBeAtEnd(words);
    if (row.isSwitch()) {
        if (text != "on" && text != "off")
            fail(Text::quoted(text) + " is neither 'on' nor 'off'");
        return {row.name, text == "on" ? 1 : 0};
    }
    std::int64_t value = 0;
    if (!Text::parseNumber(text, 10, value) || !row.argument.contains(value))
        fail(Text::quoted(text) + " is no number from " + std::to_string(row.argument.least) + " to " +
             std::to_string(row.argument.greatest));
    return {row.name, value};
}

SpeedTable parseSpeedTable(std::string_view words) {
    SpeedTable table;
    while (!words.empty()) {
        std::string_view increment = Text::takeWord(words);
        const std::string_view word = increment;
        const std::string_view timeGap = Text::takeUntil(increment, ':');
        KXEncoderDynamicPair row{};
        if (!Text::parseNumber(timeGap, 10, row.timeGap) || !Text::parseNumber(increment, 10, row.increment))
            fail(Text::quoted(word) + " is no row of a speed table; it is to be gap:increment");
        table.rows.push_back(row);
    }
    return table;
}

KeyMapping parseKeyMapping(std::string_view words) {
    KeyMapping mapping;
    while (!words.empty()) {
        std::string_view keyCode = Text::takeWord(words);
        const std::string_view word = keyCode;
        const std::string_view toolkitKey = Text::takeUntil(keyCode, '=');
        unsigned int bits = 0;
        int code = 0;
        if (toolkitKey.substr(0, 2) != "0x" || !Text::parseNumber(toolkitKey.substr(2), 16, bits) ||
            !Text::parseNumber(keyCode, 10, code))
            fail(Text::quoted(word) + " maps no key; it is to be 0xTOOLKITKEY=KEYCODE");
        if (!mapping.keyCodeOfToolkitKey.emplace(static_cast<int>(bits), code).second)
            fail("the key " + Text::quoted(toolkitKey) + " is there twice");
    }
    return mapping;
}

Keypad parseKeypad(std::string_view words, const std::map<int, int>& toolkitKeys) {
    std::string text(words);
    // The line number in the message becomes the number of the entry.
    std::replace(text.begin(), text.end(), ';', '\n');
    std::istringstream lines(text);
    try {
        return {std::make_shared<const CANRemoteOptions>(KeyLayout::read(lines, "keypad, entry", toolkitKeys))};
    } catch (const std::runtime_error& error) {
        std::string what = error.what();
        what.replace(what.find(':'), 1, " ");
        fail(what);
    }
}

bool parseSetting(std::string_view words, const std::map<int, int>& toolkitKeys, Input& input,
                  std::string& unknown) {
    const std::string_view name = Text::takeWord(words);
    const auto* const row = std::find_if(settingTable.begin(), settingTable.end(),
                                         [name](const KXSettingRow& candidate) { return candidate.word == name; });
    if (row != settingTable.end())
        input = parseNumberSetting(*row, words);
    else if (name == "speed-table")
        input = parseSpeedTable(words);
    else if (name == "key-mapping")
        input = parseKeyMapping(words);
    else if (name == "keypad")
        input = parseKeypad(words, toolkitKeys);
    else if (name.empty())
        fail("what is set is missing");
    else
        unknown = "the setting " + Text::quoted(name);
    return unknown.empty();
}

// Most lines are passes.
bool parseInput(std::string_view words, unsigned int tick, const std::map<int, int>& toolkitKeys, Input& input,
                std::string& unknown) {
    const std::string_view kind = Text::takeWord(words);
    if (kind == "pass" || kind == "end") {
        mustBeAtEnd(words);
        if (kind == "pass")
            input = Pass();
        else
            input = End();
    } else if (kind == "toolkit") {
        input = parseEvent<KXToolkitEvent>(words, tick, unknown);
    } else if (kind == "input") {
        input = parseEvent<KXInputEvent>(words, tick, unknown);
    } else if (kind == "post") {
        input = Post{parseEvent<KXSomeEvent>(words, tick, unknown)};
    } else if (kind == "set") {
        return parseSetting(words, toolkitKeys, input, unknown);
    } else if (kind.empty()) {
        fail("the line ends behind the tick");
    } else {
        unknown = "the line " + Text::quoted(kind);
        return false;
    }
    return true;
}

} // namespace

std::uint64_t continueTime(unsigned int tick, std::optional<std::uint64_t> previousMs) {
    if (!previousMs)
        return tick;
    // A tick less than half the range behind has gone back. Every other tick is ahead, perhaps across the wrap.
    const auto distance = static_cast<int>(tick - static_cast<unsigned int>(*previousMs));
    if (distance < 0)
        fail("the tick " + std::to_string(tick) + " lies before that of the line above, " +
             std::to_string(static_cast<unsigned int>(*previousMs)));
    return *previousMs + static_cast<unsigned int>(distance);
}

bool parse(std::string_view line, std::optional<std::uint64_t> previousMs, const std::map<int, int>& toolkitKeys,
           Entry& entry, std::string& unknown) {
    std::string_view words = line;
    const std::string_view tickWord = Text::takeWord(words);
    unsigned int tick = 0;
    if (!Text::parseNumber(tickWord, 10, tick))
        fail(Text::quoted(tickWord) + " is neither a tick nor the (time) of a frame");
    entry.timeMs = continueTime(tick, previousMs);
    return parseInput(words, tick, toolkitKeys, entry.input, unknown);
}

} // namespace KX::Recording

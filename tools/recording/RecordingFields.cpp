#include "tools/recording/RecordingFields.h"

#include "events/KXEventType.h"
#include "tools/text/Text.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <set>
#include <stdexcept>

namespace Recording {

namespace {

using KX::KXToolkitEvent;

struct NamedType {
    int number;
    std::string_view name;
};

constexpr NamedType namedTypes[] = {
#define KX_NAMED_TYPE(number, name) {number, #name},
    KX_FOR_EACH_EVENT_TYPE(KX_NAMED_TYPE)
#undef KX_NAMED_TYPE
};

std::string formatType(int type) {
    const auto named = std::find_if(std::begin(namedTypes), std::end(namedTypes),
                                    [type](const NamedType& candidate) { return candidate.number == type; });
    return named == std::end(namedTypes) ? std::to_string(type) : std::string(named->name);
}

bool parseType(std::string_view word, int& type) {
    const auto named = std::find_if(std::begin(namedTypes), std::end(namedTypes),
                                    [word](const NamedType& candidate) { return candidate.name == word; });
    if (named == std::end(namedTypes))
        return Text::parseNumber(word, 10, type);
    type = named->number;
    return true;
}

// The notations of field values. Each has a function format and a function parse.

struct Decimal {
    template<typename Number>
    static std::string format(Number number) {
        return std::to_string(number);
    }
    template<typename Number>
    static bool parse(std::string_view text, Number& number) {
        return Text::parseNumber(text, 10, number);
    }
};

// In hexadecimal, as in the toolkit's own tables.
struct ToolkitKey {
    static std::string format(int key) {
        return key == KX::KX_KEY_NONE ? "-1" : "0x" + Text::hexadecimal(static_cast<unsigned int>(key));
    }
    static bool parse(std::string_view text, int& key) {
        if (text == "-1") {
            key = KX::KX_KEY_NONE;
            return true;
        }
        unsigned int bits = 0;
        const bool isKey = text.substr(0, 2) == "0x" && Text::parseNumber(text.substr(2), 16, bits);
        key = static_cast<int>(bits);
        return isKey;
    }
};

struct Words4 {
    static std::string format(const unsigned int (&words)[4]) {
        std::string text;
        for (const unsigned int word : words)
            text += (text.empty() ? "" : ",") + std::to_string(word);
        return text;
    }
    static bool parse(std::string_view text, unsigned int (&words)[4]) {
        for (unsigned int& word : words)
            if (!Text::parseNumber(Text::takeUntil(text, ','), 10, word))
                return false;
        return text.empty();
    }
};

struct Flag {
    static std::string format(bool flag) { return flag ? "1" : "0"; }
    static bool parse(std::string_view text, bool& flag) {
        flag = text == "1";
        return flag || text == "0";
    }
};

// Calls \p visit with the name, the notation and the member of each field.
template<typename Event, typename Visitor>
void forEachField(Event& event, Visitor visit) {
    visit("time", Decimal(), event.timeStamp);
    visit("class", Decimal(), event.eventClass);
    visit("key", Decimal(), event.keyCode);
    visit("os", ToolkitKey(), event.osKeyCode);
    visit("value", Decimal(), event.value);
    visit("count", Decimal(), event.count);
    visit("data", Words4(), event.eventData);
    visit("input-value", Decimal(), event.inputValue);
    visit("input-data", Words4(), event.inputData);
    visit("incident-flag", Flag(), event.incidentFlag);
    visit("toolkit-flag", Flag(), event.toolkitFlag);
}

KXToolkitEvent defaultEvent(unsigned int tick) {
    KXToolkitEvent event;
    event.timeStamp = tick;
    return event;
}

// Returns whether a field has this name.
bool setField(KXToolkitEvent& event, std::string_view name, std::string_view value) {
    bool isKnown = false;
    forEachField(event, [&](std::string_view field, auto notation, auto& member) {
        if (field != name)
            return;
        isKnown = true;
        if (!notation.parse(value, member))
            throw std::runtime_error(Text::quoted(value) + " is no value for '" + std::string(name) + "'");
    });
    return isKnown;
}

} // namespace

std::string formatToolkitEvent(const KXToolkitEvent& event, unsigned int tick) {
    const KXToolkitEvent defaults = defaultEvent(tick);
    std::string text = formatType(event.eventType);
    std::array<std::string, 11> defaultTexts;
    std::size_t field = 0;
    forEachField(defaults, [&](std::string_view, auto notation, const auto& member) {
        defaultTexts.at(field++) = notation.format(member);
    });
    field = 0;
    forEachField(event, [&](std::string_view name, auto notation, const auto& member) {
        const std::string value = notation.format(member);
        if (value != defaultTexts.at(field++))
            text += " " + std::string(name) + "=" + value;
    });
    return text;
}

KXToolkitEvent parseToolkitEvent(std::string_view words, unsigned int tick, std::string& unknown) {
    KXToolkitEvent event = defaultEvent(tick);
    const std::string_view type = Text::takeWord(words);
    if (!parseType(type, event.eventType))
        throw std::runtime_error(type.empty() ? "the type of the event is missing"
                                              : Text::quoted(type) + " is no type of event");
    std::set<std::string_view> names;
    while (!words.empty()) {
        std::string_view value = Text::takeWord(words);
        const std::string_view word = value;
        const std::string_view name = Text::takeUntil(value, '=');
        if (name.empty() || name.size() == word.size())
            throw std::runtime_error(Text::quoted(word) + " is no field; it is to be name=value");
        if (!names.insert(name).second)
            throw std::runtime_error("the field " + Text::quoted(name) + " is there twice");
        if (!setField(event, name, value))
            unknown = "the field " + Text::quoted(name);
    }
    return event;
}

} // namespace Recording

#include "recording/format/RecordingFields.h"

#include "events/KXEventType.h"
#include "recording/format/Text.h"
#include "recording/format/Varint.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <set>
#include <stdexcept>
#include <type_traits>

namespace KX::Recording {

namespace {

struct NamedType {
    int number;
    std::string_view name;
};

constexpr NamedType namedTypes[] = {
#define KX_NAMED_TYPE(number, name) {number, #name},
    KX_FOR_EACH_EVENT_TYPE(KX_NAMED_TYPE)
#undef KX_NAMED_TYPE
};

template<typename Number>
void appendNumber(std::string& text, Number number, int base = 10) {
    char digits[24];
    text.append(digits, std::to_chars(std::begin(digits), std::end(digits), number, base).ptr);
}

void appendType(std::string& text, int type) {
    const auto named = std::find_if(std::begin(namedTypes), std::end(namedTypes),
                                    [type](const NamedType& candidate) { return candidate.number == type; });
    if (named == std::end(namedTypes))
        appendNumber(text, type);
    else
        text += named->name;
}

bool parseType(std::string_view word, int& type) {
    const auto named = std::find_if(std::begin(namedTypes), std::end(namedTypes),
                                    [word](const NamedType& candidate) { return candidate.name == word; });
    if (named == std::end(namedTypes))
        return Text::parseNumber(word, 10, type);
    type = named->number;
    return true;
}

// The notations of field values. Each has a function append and a function parse.

struct Decimal {
    template<typename Number>
    static void append(std::string& text, Number number) {
        appendNumber(text, number);
    }
    template<typename Number>
    static bool parse(std::string_view text, Number& number) {
        return Text::parseNumber(text, 10, number);
    }
};

// In hexadecimal, as in the toolkit's own tables.
struct ToolkitKey {
    static void append(std::string& text, int key) {
        if (key == KX_KEY_NONE) {
            text += "-1";
            return;
        }
        text += "0x";
        appendNumber(text, static_cast<unsigned int>(key), 16);
    }
    static bool parse(std::string_view text, int& key) {
        if (text == "-1") {
            key = KX_KEY_NONE;
            return true;
        }
        unsigned int bits = 0;
        const bool isKey = text.substr(0, 2) == "0x" && Text::parseNumber(text.substr(2), 16, bits);
        key = static_cast<int>(bits);
        return isKey;
    }
};

struct Words {
    template<typename Word, std::size_t count>
    static void append(std::string& text, const Word (&words)[count]) {
        for (const Word& word : words) {
            if (&word != words)
                text += ',';
            appendNumber(text, word);
        }
    }
    template<typename Word, std::size_t count>
    static bool parse(std::string_view text, Word (&words)[count]) {
        const bool endsWithComma = !text.empty() && text.back() == ',';
        for (Word& word : words)
            if (!Text::parseNumber(Text::takeUntil(text, ','), 10, word))
                return false;
        return text.empty() && !endsWithComma;
    }
};

struct Flag {
    static void append(std::string& text, bool flag) { text += flag ? '1' : '0'; }
    static bool parse(std::string_view text, bool& flag) {
        flag = text == "1";
        return flag || text == "0";
    }
};

// Calls \p visit with the name, the notation and the pointer to member of each field.
template<class Event, class Visitor>
void forEachField(Visitor visit) {
    visit("time", Decimal(), &KXEvent::timeStamp);
    visit("class", Decimal(), &KXEvent::eventClass);
    visit("key", Decimal(), &KXInputEvent::keyCode);
    visit("os", ToolkitKey(), &KXInputEvent::osKeyCode);
    visit("value", Decimal(), &KXEvent::value);
    visit("count", Decimal(), &KXEvent::count);
    visit("data", Words(), &KXEvent::eventData);
    visit("input-value", Decimal(), &KXInputEvent::inputValue);
    visit("input-data", Words(), &KXInputEvent::inputData);
    visit("incident-flag", Flag(), &KXIncident::incidentFlag);
    if constexpr (std::is_same_v<Event, KXToolkitEvent>)
        visit("toolkit-flag", Flag(), &KXToolkitEvent::toolkitFlag);
    if constexpr (std::is_same_v<Event, KXSomeEvent>) {
        visit("signal-data", Words(), &KXSignal::signalData);
        visit("source-class", Decimal(), &KXSomeEvent::sourceClass);
    }
}

template<class Event>
Event defaultEvent(unsigned int tick) {
    Event event;
    event.timeStamp = tick;
    if constexpr (std::is_same_v<Event, KXSomeEvent>)
        event.eventClass = event.sourceClass = INPUT_EVENT_CLASS;
    return event;
}

template<typename Value>
bool isEqual(const Value& one, const Value& other) {
    if constexpr (std::is_array_v<Value>)
        return std::equal(std::begin(one), std::end(one), std::begin(other));
    else
        return one == other;
}

// Returns whether a field has this name.
template<class Event>
bool setField(Event& event, std::string_view name, std::string_view value) {
    bool isKnown = false;
    forEachField<Event>([&](std::string_view field, auto notation, auto member) {
        if (field != name)
            return;
        isKnown = true;
        if (!notation.parse(value, event.*member))
            throw std::runtime_error(Text::quoted(value) + " is no value for '" + std::string(name) + "'");
    });
    return isKnown;
}

template<typename Value>
std::uint8_t* packValue(const Value& value, std::uint8_t* bytes) {
    if constexpr (std::is_array_v<Value>) {
        for (const auto& word : value)
            bytes = packNumber(word, bytes);
        return bytes;
    } else if constexpr (std::is_signed_v<Value>) {
        return packNumber(foldSign(value), bytes);
    } else {
        return packNumber(value, bytes);
    }
}

template<typename Value>
void unpackValue(Value& value, const std::uint8_t*& bytes) {
    if constexpr (std::is_array_v<Value>)
        for (auto& word : value)
            word = static_cast<std::decay_t<decltype(word)>>(unpackNumber(bytes));
    else if constexpr (std::is_signed_v<Value>)
        value = static_cast<Value>(unfoldSign(unpackNumber(bytes)));
    else
        value = static_cast<Value>(unpackNumber(bytes));
}

} // namespace

template<class Event>
void formatEvent(const Event& event, unsigned int tick, std::string& text) {
    const Event defaults = defaultEvent<Event>(tick);
    appendType(text, event.eventType);
    forEachField<Event>([&](std::string_view name, auto notation, auto member) {
        if (isEqual(event.*member, defaults.*member))
            return;
        text += ' ';
        text += name;
        text += '=';
        notation.append(text, event.*member);
    });
}

template<class Event>
Event parseEvent(std::string_view words, unsigned int tick, std::string& unknown) {
    Event event = defaultEvent<Event>(tick);
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

// A bit for each field says whether it is there.
template<class Event>
std::uint8_t* packEvent(const Event& event, unsigned int tick, std::uint8_t* bytes) {
    const Event defaults = defaultEvent<Event>(tick);
    unsigned int present = 0;
    unsigned int bit = 1;
    forEachField<Event>([&](std::string_view, auto, auto member) {
        if (!isEqual(event.*member, defaults.*member))
            present |= bit;
        bit <<= 1;
    });
    bytes = packNumber(foldSign(event.eventType), bytes);
    bytes = packNumber(present, bytes);
    bit = 1;
    forEachField<Event>([&](std::string_view, auto, auto member) {
        if ((present & bit) != 0)
            bytes = packValue(event.*member, bytes);
        bit <<= 1;
    });
    return bytes;
}

template<class Event>
Event unpackEvent(unsigned int tick, const std::uint8_t*& bytes) {
    Event event = defaultEvent<Event>(tick);
    unpackValue(event.eventType, bytes);
    const std::uint64_t present = unpackNumber(bytes);
    unsigned int bit = 1;
    forEachField<Event>([&](std::string_view, auto, auto member) {
        if ((present & bit) != 0)
            unpackValue(event.*member, bytes);
        bit <<= 1;
    });
    return event;
}

#define KX_FOR_EVENT(Event)                                                                                       \
    template void formatEvent(const Event&, unsigned int, std::string&);                                          \
    template Event parseEvent(std::string_view, unsigned int, std::string&);                                      \
    template std::uint8_t* packEvent(const Event&, unsigned int, std::uint8_t*);                                  \
    template Event unpackEvent(unsigned int, const std::uint8_t*&);
KX_FOR_EVENT(KXToolkitEvent)
KX_FOR_EVENT(KXInputEvent)
KX_FOR_EVENT(KXSomeEvent)
#undef KX_FOR_EVENT

} // namespace KX::Recording

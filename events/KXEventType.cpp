#include "events/KXEventType.h"

#include "events/EventTypeName.h"
#include "platform/KXString.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace KX {

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

constexpr std::string_view unnamedPrefix = "UnknownEventType(";

// All numbers but the upper bound are small, so one byte for each gives a look-up without a search.
constexpr int lastIndexedNumber = MEDIA_EVENT;
constexpr std::uint8_t noName = 0xFF;
using NameIndex = std::array<std::uint8_t, lastIndexedNumber + 1>;

constexpr NameIndex makeNameIndex() {
    NameIndex index{};
    for (auto& entry : index)
        entry = noName;
    std::uint8_t position = 0;
    for (const NamedType& type : namedTypes) {
        if (type.number <= lastIndexedNumber)
            index[static_cast<std::size_t>(type.number)] = position;
        ++position;
    }
    return index;
}

constexpr NameIndex nameIndex = makeNameIndex();

constexpr bool onlyTheUpperBoundIsNotIndexed() {
    int beyond = 0;
    for (const NamedType& type : namedTypes)
        beyond += type.number > lastIndexedNumber ? 1 : 0;
    return beyond == 1 && std::size(namedTypes) < noName;
}
static_assert(onlyTheUpperBoundIsNotIndexed());

} // namespace

std::string_view findEventTypeName(int type) {
    if (type == KX_MAX_EVENT_TYPE_NUMBER)
        return namedTypes[std::size(namedTypes) - 1].name;
    if (type < 0 || type > lastIndexedNumber)
        return {};
    const std::uint8_t position = nameIndex[static_cast<std::size_t>(type)];
    return position == noName ? std::string_view() : namedTypes[position].name;
}

std::string translateEventTypeToString(int type) {
    const std::string_view name = findEventTypeName(type);
    if (!name.empty())
        return std::string(name);
    return std::string(unnamedPrefix) + toString(type) + ")";
}

EventTypeName::EventTypeName(int type) : name(findEventTypeName(type).data()) {
    if (!name)
        name = composeName(type);
}

const char* EventTypeName::composeName(int type) {
    // Numbers are short enough to need no heap inside std::string, unlike the whole text.
    const std::string number = toString(type);
    char* end = unnamed;
    end += unnamedPrefix.copy(end, unnamedPrefix.size());
    end += number.copy(end, static_cast<std::size_t>(unnamed + sizeof unnamed - 2 - end));
    std::strcpy(end, ")");
    return unnamed;
}

} // namespace KX

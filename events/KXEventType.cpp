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

// Types come in families of a hundred, with few numbers in use. A look-up by family and number needs no search and
// 200 bytes; one index of all numbers would need 2 KiB.
constexpr int familySize = 100;
constexpr int familyCount = MEDIA_EVENT / familySize + 1;
constexpr std::uint8_t noName = 0xFF;

struct NameIndex {
    struct Family {
        std::uint8_t begin = 0; // in places
        std::uint8_t size = 0;
    };
    std::array<Family, familyCount> families{};
    std::array<std::uint8_t, 2 * std::size(namedTypes)> places{}; // in namedTypes, or noName
};

constexpr NameIndex makeNameIndex() {
    NameIndex index{};
    for (auto& place : index.places)
        place = noName;
    std::uint8_t end = 0;
    for (std::size_t place = 0; place < std::size(namedTypes) - 1; ++place) {
        const int number = namedTypes[place].number;
        NameIndex::Family& family = index.families[static_cast<std::size_t>(number / familySize)];
        if (family.size == 0)
            family.begin = end;
        family.size = static_cast<std::uint8_t>(number % familySize + 1);
        end = static_cast<std::uint8_t>(family.begin + family.size);
        index.places[end - 1U] = static_cast<std::uint8_t>(place);
    }
    return index;
}

constexpr NameIndex nameIndex = makeNameIndex();

constexpr bool onlyTheUpperBoundIsNotIndexed() {
    int beyond = 0;
    for (const NamedType& type : namedTypes)
        beyond += type.number >= familySize * familyCount ? 1 : 0;
    return beyond == 1 && std::size(namedTypes) < noName;
}
static_assert(onlyTheUpperBoundIsNotIndexed());

} // namespace

std::string_view findEventTypeName(int type) {
    if (type == KX_MAX_EVENT_TYPE_NUMBER)
        return namedTypes[std::size(namedTypes) - 1].name;
    const auto number = static_cast<unsigned int>(type); // a negative number lies beyond every family
    const unsigned int familyNumber = number / familySize;
    if (familyNumber >= familyCount)
        return {};
    const NameIndex::Family family = nameIndex.families[familyNumber];
    const unsigned int numberInFamily = number % familySize;
    if (numberInFamily >= family.size)
        return {};
    const std::uint8_t place = nameIndex.places[family.begin + numberInFamily];
    return place == noName ? std::string_view() : namedTypes[place].name;
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
    // A number fits into std::string's own buffer; the whole text would need the heap.
    const std::string number = toString(type);
    char* end = unnamed;
    end += unnamedPrefix.copy(end, unnamedPrefix.size());
    end += number.copy(end, static_cast<std::size_t>(unnamed + sizeof unnamed - 2 - end));
    std::strcpy(end, ")");
    return unnamed;
}

} // namespace KX

#include "events/KXEventType.h"

#include "events/EventTypeName.h"
#include "platform/KXString.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace KX {

namespace {

constexpr int namedTypes[] = {
#define KX_NUMBER(number, name) number,
    KX_FOR_EACH_EVENT_TYPE(KX_NUMBER)
#undef KX_NUMBER
};

// In one piece: a pointer to each name would have to be relocated when the library is loaded.
constexpr char allNames[] =
#define KX_NAME(number, name) #name "\0"
    KX_FOR_EACH_EVENT_TYPE(KX_NAME)
#undef KX_NAME
    ;

constexpr std::string_view unnamedPrefix = "UnknownEventType(";

// Types come in families of a hundred, with few numbers in use. A look-up by family and number needs no search and
// little room.
constexpr int familySize = 100;
constexpr int familyCount = MEDIA_EVENT / familySize + 1;

constexpr std::size_t countPlaces() {
    std::size_t places = 0;
    for (std::size_t i = 0; i + 1 < std::size(namedTypes); ++i) {
        const bool isLastOfFamily = namedTypes[i] / familySize != namedTypes[i + 1] / familySize;
        places += isLastOfFamily ? static_cast<std::size_t>(namedTypes[i] % familySize + 1) : 0;
    }
    return places;
}

struct NameIndex {
    struct Family {
        std::uint8_t begin = 0; // in names
        std::uint8_t size = 0;
    };
    struct Name {
        std::uint16_t begin = 0; // in allNames
        std::uint8_t length = 0; // 0: the number has no name
    };
    std::array<Family, familyCount> families{};
    std::array<Name, countPlaces()> names{};
    Name upperBound; // lies far beyond all families
};

constexpr NameIndex makeNameIndex() {
    NameIndex index{};
    std::size_t begin = 0;
    std::uint8_t end = 0;
    for (const int number : namedTypes) {
        const std::string_view text = allNames + begin;
        const NameIndex::Name name{static_cast<std::uint16_t>(begin), static_cast<std::uint8_t>(text.size())};
        begin += text.size() + 1;
        if (number == KX_MAX_EVENT_TYPE_NUMBER) {
            index.upperBound = name;
            continue;
        }
        NameIndex::Family& family = index.families[static_cast<std::size_t>(number / familySize)];
        if (family.size == 0)
            family.begin = end;
        family.size = static_cast<std::uint8_t>(number % familySize + 1);
        end = static_cast<std::uint8_t>(family.begin + family.size);
        index.names[end - 1U] = name;
    }
    return index;
}

constexpr NameIndex nameIndex = makeNameIndex();

static_assert(nameIndex.names.back().length > 0, "no place is left over");
static_assert(sizeof allNames <= 0xFFFF && countPlaces() <= 0xFF, "the index counts in small numbers");

} // namespace

std::string_view findEventTypeName(int type) {
    const auto number = static_cast<unsigned int>(type); // a negative number lies beyond every family
    const unsigned int familyNumber = number / familySize;
    NameIndex::Name name;
    if (familyNumber < familyCount) {
        const NameIndex::Family family = nameIndex.families[familyNumber];
        const unsigned int numberInFamily = number % familySize;
        if (numberInFamily < family.size)
            name = nameIndex.names[family.begin + numberInFamily];
    } else if (type == KX_MAX_EVENT_TYPE_NUMBER) {
        name = nameIndex.upperBound;
    }
    return name.length == 0 ? std::string_view() : std::string_view(allNames + name.begin, name.length);
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

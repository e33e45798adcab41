#include "recording/KXEventLine.h"

#include "events/KXEvent.h"
#include "events/KXEventType.h"

#include <algorithm>
#include <charconv>

namespace KX {

KXEventLine::KXEventLine(const KXInputEvent& event) {
    appendNumber(event.timeStamp);
    append(" ");
    append(translateEventTypeToString(event.eventType));
    append(" class=");
    appendNumber(event.eventClass);
    append(" key=");
    appendNumber(event.keyCode);
    append(" os=");
    if (event.osKeyCode == KX_KEY_NONE) {
        append("-1");
    } else {
        append("0x");
        appendNumber(static_cast<unsigned int>(event.osKeyCode), 16);
    }
    append(" value=");
    appendNumber(event.value);
    append(" count=");
    appendNumber(event.count);
    append(" data=");
    for (std::size_t word = 0; word < 4; ++word) {
        append(word == 0 ? "" : ",");
        appendNumber(event.eventData[word]);
    }
    characters[length] = '\n';
}

std::string_view KXEventLine::text() const {
    return {characters.data(), length};
}

std::string_view KXEventLine::textWithLineEnd() const {
    return {characters.data(), length + 1};
}

void KXEventLine::append(std::string_view part) {
    const std::size_t room = characters.size() - 1 - length;
    const std::size_t taken = std::min(part.size(), room);
    std::copy_n(part.data(), taken, characters.data() + length);
    length += taken;
}

void KXEventLine::appendNumber(long long number, int base) {
    std::array<char, 24> digits;
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number, base);
    append({digits.data(), static_cast<std::size_t>(result.ptr - digits.data())});
}

} // namespace KX

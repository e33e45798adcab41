#include "tools/kxreplay/EventOutput.h"

#include "events/KXEventKind.h"
#include "recording/KXEventLine.h"

#include <QKeySequence>

#include <algorithm>

namespace Replay {

namespace {

std::string field(const char* name, long long number) {
    return std::string(",\"") + name + "\":" + std::to_string(number);
}

// The toolkit's name of a key; empty for other numbers.
std::string toolkitName(int osKeyCode) {
    if (osKeyCode <= 0)
        return {};
    const std::string name = QKeySequence(osKeyCode).toString(QKeySequence::PortableText).toStdString();
    const bool isPlain = std::all_of(name.begin(), name.end(), [](char c) { return c > ' ' && c <= '~'; });
    return isPlain ? name : std::string();
}

} // namespace

std::string formatEvent(const KX::KXInputEvent& event, Format format) {
    if (format == Format::JSON)
        return toJSON(event) + "\n";
    return std::string(KX::KXEventLine(event).textWithLineEnd());
}

// The names of events need no quoting: they consist of letters, digits and underscores.
std::string toJSON(const KX::KXInputEvent& event) {
    std::string text = "{\"time\":" + std::to_string(event.timeStamp);
    text += field("type", event.eventType);
    text += ",\"name\":\"" + KX::translateEventTypeToString(event.eventType) + "\"";
    text += field("class", event.eventClass) + field("key", event.keyCode);
    text += field("os", event.osKeyCode == KX::KX_KEY_NONE ? -1LL : static_cast<unsigned int>(event.osKeyCode));
    text += field("value", event.value) + field("count", event.count);
    text += ",\"data\":[";
    for (std::size_t word = 0; word < 4; ++word)
        text += (word == 0 ? "" : ",") + std::to_string(event.eventData[word]);
    return text + "]}";
}

std::string nameKey(const KX::KXInputEvent& event) {
    if (KX::isMouseEvent(event.eventType))
        return "mouse button " + std::to_string(event.eventData[1]);
    const std::string name = toolkitName(event.osKeyCode);
    const std::string behind = name.empty() ? "" : " (" + name + ")";
    if (event.keyCode == KX::KX_KEY_UNMAPPED)
        return "a key without code" + behind;
    return "key " + std::to_string(event.keyCode) + behind;
}

bool isEncoderMove(const KX::KXInputEvent& event) {
    return event.eventType == KX::ENCODER_MOVE_EVENT;
}

bool isSameKey(const KX::KXInputEvent& one, const KX::KXInputEvent& other) {
    const bool isMouse = KX::isMouseEvent(one.eventType);
    if (isMouse != KX::isMouseEvent(other.eventType) || isEncoderMove(one) != isEncoderMove(other))
        return false;
    return isMouse ? one.eventData[1] == other.eventData[1] : one.keyCode == other.keyCode;
}

} // namespace Replay

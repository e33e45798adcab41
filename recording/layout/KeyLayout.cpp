#include "recording/KXKeyLayout.h"

#include "recording/KXFunctionKeys.h"

#include <iterator>

namespace KX::KeyLayout {

namespace {

constexpr int noFramesIdentifier = -1;
constexpr int firstKeysIdentifier = 0x18FF0001;
constexpr int secondKeysIdentifier = 0x18FF0002;
constexpr std::uint32_t knobsIdentifier = 0x18FF0003;

constexpr int functionKey(int number) {
    return functionKeyCode + number - 1;
}

struct Place {
    int keyCode;
    int canId;
    int byteIndex;
    int bitIndex;
};

// Adjacent keys have bits far apart, so that a wrong bit or byte is noticed.
constexpr Place places[] = {
    {KX_KEY_ESCAPE, firstKeysIdentifier, 0, 0},   {KX_KEY_HOME, firstKeysIdentifier, 0, 7},
    {KX_KEY_TAB, firstKeysIdentifier, 1, 3},      {KX_KEY_RETURN, firstKeysIdentifier, 3, 5},
    {KX_KEY_UP, firstKeysIdentifier, 4, 1},       {KX_KEY_DOWN, firstKeysIdentifier, 4, 2},
    {KX_KEY_END, firstKeysIdentifier, 7, 0},      {functionKey(9), firstKeysIdentifier, 7, 7},
    {functionKey(1), secondKeysIdentifier, 0, 4}, {functionKey(2), secondKeysIdentifier, 1, 5},
    {functionKey(3), secondKeysIdentifier, 2, 6}, {functionKey(4), secondKeysIdentifier, 3, 7},
    {functionKey(5), secondKeysIdentifier, 4, 0}, {functionKey(6), secondKeysIdentifier, 5, 1},
    {functionKey(7), secondKeysIdentifier, 6, 2}, {functionKey(8), secondKeysIdentifier, 7, 3},
};
static_assert(std::size(places) == keyCount);

// The toolkit's number, without its headers: programs without the toolkit read layouts, too.
constexpr int toolkitF1 = 0x1000030;
constexpr int functionKeyCount = 12;

} // namespace

CANRemoteOptions empty() {
    CANRemoteOptions layout;
    layout.enabled = true;
    layout.encoderCANId = static_cast<std::uint32_t>(noFramesIdentifier);
    for (KeyOptionsCANRemote& key : layout.keys)
        key.canId = noFramesIdentifier;
    return layout;
}

CANRemoteOptions builtIn() {
    CANRemoteOptions layout = empty();
    for (int i = 0; i < keyCount; ++i) {
        const Place& place = places[i];
        layout.keys[i] = {i + 1, place.keyCode, place.byteIndex, place.bitIndex, place.canId, 0};
    }
    layout.encoderCANId = knobsIdentifier;
    layout.encoderByteIndex = 2;
    return layout;
}

bool isUsed(const KeyOptionsCANRemote& key) {
    return key.keyNumber != 0;
}

bool hasEncoder(const CANRemoteOptions& layout) {
    return layout.encoderCANId != static_cast<std::uint32_t>(noFramesIdentifier);
}

std::map<int, int> functionKeys() {
    std::map<int, int> keys;
    for (int i = 0; i < functionKeyCount; ++i)
        keys[toolkitF1 + i] = functionKeyCode + i;
    return keys;
}

std::map<int, int> keyCodesOfTerminal() {
    std::map<int, int> keys;
    for (int keyCode = KX_KEY_ESCAPE; keyCode < functionKeyCode; ++keyCode)
        keys[keyCode] = keyCode;
    for (const auto& [toolkitKey, keyCode] : functionKeys())
        keys[keyCode] = toolkitKey;
    return keys;
}

} // namespace KX::KeyLayout

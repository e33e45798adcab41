#include "tools/keylayout/KeyLayout.h"

#include <iterator>

namespace {

constexpr int noFramesIdentifier = -1;
constexpr int firstKeysIdentifier = 0x18FF0001;
constexpr int secondKeysIdentifier = 0x18FF0002;
constexpr std::uint32_t knobsIdentifier = 0x18FF0003;

struct Place {
    int keyCode;
    int canId;
    int byteIndex;
    int bitIndex;
};

// Neighbours on the keypad are no neighbours in the frames, so a mistaken bit or byte shows.
constexpr Place places[] = {
    {0, firstKeysIdentifier, 0, 0},   {1, firstKeysIdentifier, 0, 7},   {2, firstKeysIdentifier, 1, 3},
    {3, firstKeysIdentifier, 3, 5},   {4, firstKeysIdentifier, 4, 1},   {5, firstKeysIdentifier, 4, 2},
    {6, firstKeysIdentifier, 7, 0},   {15, firstKeysIdentifier, 7, 7},  {7, secondKeysIdentifier, 0, 4},
    {8, secondKeysIdentifier, 1, 5},  {9, secondKeysIdentifier, 2, 6},  {10, secondKeysIdentifier, 3, 7},
    {11, secondKeysIdentifier, 4, 0}, {12, secondKeysIdentifier, 5, 1}, {13, secondKeysIdentifier, 6, 2},
    {14, secondKeysIdentifier, 7, 3},
};
static_assert(std::size(places) == KeyLayout::keyCount);

} // namespace

KX::CANRemoteOptions KeyLayout::empty() {
    KX::CANRemoteOptions layout;
    layout.enabled = true;
    layout.encoderCANId = static_cast<std::uint32_t>(noFramesIdentifier);
    for (KX::KeyOptionsCANRemote& key : layout.keys)
        key.canId = noFramesIdentifier;
    return layout;
}

KX::CANRemoteOptions KeyLayout::builtIn() {
    KX::CANRemoteOptions layout = empty();
    for (int i = 0; i < keyCount; ++i) {
        const Place& place = places[i];
        layout.keys[i] = {i + 1, place.keyCode, place.byteIndex, place.bitIndex, place.canId, 0};
    }
    layout.encoderCANId = knobsIdentifier;
    layout.encoderByteIndex = 2;
    return layout;
}

bool KeyLayout::isUsed(const KX::KeyOptionsCANRemote& key) {
    return key.keyNumber != 0;
}

bool KeyLayout::hasEncoder(const KX::CANRemoteOptions& layout) {
    return layout.encoderCANId != static_cast<std::uint32_t>(noFramesIdentifier);
}

#include "recording/KXFunctionKeys.h"

namespace KX::KeyLayout {

namespace {

// The toolkit's number, without its headers: programs without the toolkit read layouts, too.
constexpr int toolkitF1 = 0x1000030;
constexpr int functionKeyCount = 12;

} // namespace

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

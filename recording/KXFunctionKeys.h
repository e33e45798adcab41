#pragma once

#include "events/KXKeyCode.h"
#include "platform/KXExport.h"

#include <map>

namespace KX::KeyLayout {

/// Key code of F1. Those of F2 to F12 follow.
constexpr int functionKeyCode = KX_KEY_END + 1;

/// The key codes that an operator terminal assigns to the toolkit's keys F1 to F12, in the form for
/// KXInputEventManager::setKeyMapping. The library itself assigns none.
KX_RECORDING_API std::map<int, int> functionKeys();

/// All key codes of an operator terminal for which the toolkit has a key, for \ref read and \ref check before a
/// manager exists. The values for the library's own codes are placeholders.
KX_RECORDING_API std::map<int, int> keyCodesOfTerminal();

} // namespace KX::KeyLayout

#pragma once

#include "events/KXKeyCode.h"

#include <map>

namespace KeyLayout {

/// Key code of F1; those of F2 to F12 follow each other.
constexpr int functionKeyCode = KX::KX_KEY_END + 1;

/// From the toolkit's keys F1 to F12 to the key codes that an operator terminal gives them, as
/// KXInputEventManager::setKeyMapping takes it. The library has none for them by itself.
std::map<int, int> functionKeys();

/// For \ref read and \ref check before there is a manager that could tell: all key codes for which the toolkit has a
/// key in an operator terminal. Of those that the library has by itself it is not said which keys they are.
std::map<int, int> keyCodesOfTerminal();

} // namespace KeyLayout

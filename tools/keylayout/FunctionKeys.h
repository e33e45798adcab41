#pragma once

#include <map>

namespace KeyLayout {

/// Key code of F1; those of F2 to F12 follow each other.
constexpr int functionKeyCode = 7;

/// From the toolkit's keys F1 to F12 to the key codes that an operator terminal gives them, as
/// KXInputEventManager::setKeyMapping takes it. The library has none for them by itself.
std::map<int, int> functionKeys();

} // namespace KeyLayout

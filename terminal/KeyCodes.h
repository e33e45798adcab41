#pragma once

#include <map>

/// The terminal's own key codes, beside those that the library knows by itself (0 to 6).
namespace KeyCodes {

constexpr int firstSoftKey = 7; ///< F1; the eight soft keys follow each other
constexpr int startLoop = 15;   ///< F9
constexpr int firstPage = 16;   ///< F10; the three pages follow each other

/// From the toolkit's keys F1 to F12 to these codes, as KXInputEventManager::setKeyMapping takes it.
std::map<int, int> functionKeys();

} // namespace KeyCodes

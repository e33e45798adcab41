#pragma once

#include "events/KXEvent.h"

#include <map>

/// Key codes that mean something to the terminal.
namespace KeyCodes {

// The library's own.
constexpr int home = 1;
constexpr int tab = 2;
constexpr int enter = 3;
constexpr int up = 4;
constexpr int down = 5;
constexpr int end = 6;

// The terminal's.
constexpr int firstSoftKey = 7;  ///< F1; the eight soft keys follow each other
constexpr int startLoop = 15;    ///< F9
constexpr int previousPage = 16; ///< F10
constexpr int nextPage = 17;     ///< F11
constexpr int settingsPage = 18; ///< F12, also the way back

// Keys that have no key code, by the toolkit's.
constexpr int toolkitPageUp = 0x1000016;
constexpr int toolkitPageDown = 0x1000017;
constexpr int toolkitF12 = 0x100003b;

/// From the toolkit's keys F1 to F12 to these codes, as KXInputEventManager::setKeyMapping takes it.
std::map<int, int> functionKeys();

/// Whether \p event is the press of a key, also one that is classified as a double press: who presses a key
/// quickly wants what it does twice.
bool isPress(const KX::KXEvent& event);

} // namespace KeyCodes

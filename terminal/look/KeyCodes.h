#pragma once

#include "events/KXEvent.h"
#include "events/KXEventKind.h"
#include "recording/KXFunctionKeys.h"

#include <map>

/// The key codes that the terminal itself assigns: those of the keys F1 to F12.
namespace Terminal::KeyCodes {

constexpr int firstSoftKey = KX::KeyLayout::functionKeyCode; ///< F1; the eight soft keys follow each other
constexpr int startLoop = firstSoftKey + 8;                  ///< F9
constexpr int previousPage = firstSoftKey + 9;               ///< F10
constexpr int nextPage = firstSoftKey + 10;                  ///< F11
constexpr int settingsPage = firstSoftKey + 11;              ///< F12, also the way back

/// From the toolkit's keys F1 to F12 to these codes, as KXInputEventManager::setKeyMapping takes it.
inline std::map<int, int> functionKeys() {
    return KX::KeyLayout::functionKeys();
}

/// Whether \p event is the press of a key. A double press counts too, so two quick presses act twice.
inline bool isPress(const KX::KXEvent& event) {
    return KX::isKeyEvent(event.eventType) && KX::isPressEvent(event.eventType);
}

} // namespace Terminal::KeyCodes

#pragma once

namespace KX {

/// The values of \c keyCode that the library defines. Codes from 7 on belong to the application.
enum KXKeyCode : int {
    KX_KEY_NONE = -1, ///< no key, in \c keyCode and in \c osKeyCode
    KX_KEY_ESCAPE = 0,
    KX_KEY_HOME = 1,
    KX_KEY_TAB = 2,
    KX_KEY_RETURN = 3, ///< also ends an open bundle of encoder steps
    KX_KEY_UP = 4,     ///< a step of the encoder in one direction
    KX_KEY_DOWN = 5,   ///< a step of the encoder in the other direction
    KX_KEY_END = 6,
    KX_KEY_UNMAPPED = 65535, ///< a key of the toolkit that has no key code
};

/// Whether a key reports steps of the encoder.
constexpr bool isStepKey(int keyCode) {
    return keyCode == KX_KEY_UP || keyCode == KX_KEY_DOWN;
}

} // namespace KX

#pragma once

namespace Terminal {

/// The pages below the soft keys, in the order in which they are turned.
///
/// In a large window the keypad and the actions are always visible and are not pages.
enum class Page { Events, TimeLine, Encoder, Keypad, Actions, Settings };

constexpr int pageCount = 6;

} // namespace Terminal

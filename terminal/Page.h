#pragma once

namespace Terminal {

/// What the window can show below the soft keys, in the order in which it is turned over.
///
/// In a large window the keypad and the actions are always shown and are no pages.
enum class Page { Events, TimeLine, Encoder, Keypad, Actions, Settings };

constexpr int pageCount = 6;

} // namespace Terminal

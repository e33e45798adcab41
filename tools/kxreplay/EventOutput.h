#pragma once

#include "events/KXEvent.h"

#include <string>

namespace Replay {

/// The format of the output: for people, or one JSON object per line.
enum class Format { Text, JSON };

/// An event as one line, with its line end.
std::string formatEvent(const KX::KXInputEvent& event, Format format);

/// An event as a JSON object: time, type, name, class, key, os, value, count, data.
std::string toJSON(const KX::KXInputEvent& event);

/// The key or the mouse button in words: "key 0 (Esc)", "mouse button 1".
std::string nameKey(const KX::KXInputEvent& event);

bool isEncoderMove(const KX::KXInputEvent& event);

/// Whether both come from the same key, the same mouse button or the same direction of the knob.
bool isSameKey(const KX::KXInputEvent& one, const KX::KXInputEvent& other);

} // namespace Replay

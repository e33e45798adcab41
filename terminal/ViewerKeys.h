#pragma once

#include "events/KXEvent.h"

#include <optional>

namespace Terminal {

/// What a key or a turn of the wheel means to the window while a replay has taken the operator's place in the
/// library, so that no classified event tells of it: the event that it would have become, unclassified.
/// \return nothing for what the views do not react to
std::optional<KX::KXInputEvent> viewerEvent(const KX::KXToolkitEvent& report);

} // namespace Terminal

#pragma once

#include "events/KXEvent.h"

#include <optional>

namespace Terminal {

/// During a replay no classified event tells of the viewer's keys and wheel, because the recording has taken the
/// operator's place. This makes the event that such a report would have become, without classification.
/// \return nothing for reports that the views ignore
std::optional<KX::KXInputEvent> viewerEvent(const KX::KXToolkitEvent& report);

} // namespace Terminal

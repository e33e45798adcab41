#pragma once

namespace Replay {

extern const char* const helpText;

} // namespace Replay

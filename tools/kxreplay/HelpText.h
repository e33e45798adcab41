#pragma once

namespace KXReplay {

extern const char* const helpText;

} // namespace KXReplay

#pragma once

#include "platform/KXExport.h"

#include <string>

namespace KX {

/// The decimal text of a number, with a leading minus where it is negative and nothing else around it.
KX_UTILITY_API std::string toString(int value);

} // namespace KX

#pragma once

#include "platform/KXExport.h"

#include <string>

namespace KX {

/// The decimal digits of a number, with a leading minus when it is negative. Any thread; does not block. A
/// platform provides it.
KX_UTILITY_API std::string toString(int value);

} // namespace KX

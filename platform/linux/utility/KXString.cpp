#include "platform/KXString.h"

namespace KX {

std::string toString(int value) {
    return std::to_string(value);
}

} // namespace KX

#include "QtNames.h"

#include <QMetaEnum>

namespace Bench {

std::string nameFromMetaEnum(int type) {
    static const QMetaEnum names = QMetaEnum::fromType<QtNames::Type>();
    return names.valueToKey(type);
}

} // namespace Bench

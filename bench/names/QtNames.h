#pragma once

#include "events/KXEventType.h"

#include <QObject>
#include <string>

namespace Bench {

/// The numbering as a Qt program would declare it.
class QtNames {
    Q_GADGET
public:
    enum Type {
#define BENCH_TYPE(number, name) name = number,
        KX_FOR_EACH_EVENT_TYPE(BENCH_TYPE)
#undef BENCH_TYPE
    };
    Q_ENUM(Type)
};

/// The name of an event type as the meta object knows it.
std::string nameFromMetaEnum(int type);

} // namespace Bench

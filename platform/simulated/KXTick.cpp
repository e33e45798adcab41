#include "platform/KXTick.h"

#include "platform/simulated/Scheduler.h"

namespace KX {

unsigned int KXTick::getTickCount() {
    return Scheduler::instance().getTick();
}

} // namespace KX

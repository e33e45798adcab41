#include "platform/KXTick.h"

#include "platform/simulated/Scheduler.h"

namespace KX {

unsigned int KXTick::getTickCount() {
    return simulated::Scheduler::instance().getTick();
}

} // namespace KX

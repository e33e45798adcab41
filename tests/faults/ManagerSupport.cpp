#include "tests/faults/ManagerSupport.h"

namespace KX::test {

KXInputEventManager& manager() {
    if (!KXInputEventManager::hasInstance())
        KXInputEventManager::createInstance();
    KXInputEventManager& present = *KXInputEventManager::getInstance();
    takeTypes(present);
    return present;
}

std::vector<int> takeTypes(KXInputEventManager& manager) {
    std::vector<int> types;
    while (manager.hasEvents())
        types.push_back(manager.getNextEvent().eventType);
    return types;
}

bool hasLostEvent(const Fault& fault) {
    return fault.getLines().find("failed to write the data into the pipe") != std::string::npos;
}

} // namespace KX::test

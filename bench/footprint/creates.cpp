// The smallest program that creates a manager.

#include "Mark.h"

#include "input/KXInputEventManager.h"

int main() {
    footprintMark();
    KX::KXInputEventManager::createInstance();
    footprintMark();
    const bool printed = printMap();
    KX::KXInputEventManager::deleteInstance();
    return printed ? 0 : 1;
}

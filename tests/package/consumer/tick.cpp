// Uses the three platform libraries alone.

#include "platform/KXCANRaw.h"
#include "platform/KXString.h"
#include "platform/KXTick.h"

#include <cstdio>
#include <memory>

int main() {
    const unsigned int before = KX::KXTick::getTickCount();
    const std::unique_ptr<KX::KXCANRaw> noSuchBus(KX::KXCANRaw::create(4711, 0, 0));
    const bool goesOn = KX::KXTick::getTickCount() - before < 60000;
    std::printf("%s %s\n", KX::toString(-1).c_str(), goesOn && !noSuchBus ? "fine" : "odd");
}

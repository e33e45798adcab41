#pragma once

#include "tests/faults/Support.h"

#include "input/KXInputEventManager.h"
#include "input/KXInputObserver.h"

#include <string>
#include <vector>

namespace KX::test {

/// A manager without events, for the operations that need one. It lives on, because to delete it takes up to 100 ms.
KXInputEventManager& manager();

/// Takes the events that are there. \return their types
std::vector<int> takeTypes(KXInputEventManager& manager);

/// Whether the library has reported an event that its queue could not take.
bool hasLostEvent(const Fault& fault);

/// Keeps what it is told, which takes memory.
class KeepingObserver : public KXInputObserver {
public:
    void onToolkitEvent(const KXToolkitEvent&) override { told.push_back("event"); }
    void onKeyMapping(const std::map<int, int>&) override { told.push_back("mapping"); }
    void onPass(unsigned int) override { passes.push_back("a text that is too long for the string itself"); }

    std::vector<std::string> told;
    std::vector<std::string> passes;
};

} // namespace KX::test

#pragma once

#include "platform/KXAction.h"

#include <functional>

namespace KX::test {

constexpr unsigned int farAhead = 0xFFFFFFFFU; ///< a deadline that no drain reaches

/// An action that runs a test's function and counts its calls.
class TestAction : public KXAction {
public:
    TestAction() = default;

    explicit TestAction(std::function<void()> whatToDo) : onExecute(std::move(whatToDo)) {}

    bool isReady() override {
        ++asked;
        return ready;
    }

    void execute(void* argument) override {
        ++executions;
        argumentsWereNull = argumentsWereNull && argument == nullptr;
        if (onExecute)
            onExecute();
    }

    std::function<void()> onExecute;
    bool ready = true;
    bool argumentsWereNull = true;
    int asked = 0;
    int executions = 0;
};

} // namespace KX::test

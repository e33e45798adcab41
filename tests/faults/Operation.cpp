#include "tests/faults/Operation.h"

#include "tests/faults/Support.h"
#include "tests/support/HeapCount.h"

#include <gtest/gtest.h>

#include <exception>
#include <string>

namespace KX::test {

namespace {

class OperationTest : public testing::Test {
public:
    OperationTest(const Operation& testedOperation, void (Operation::*testedRuns)() const)
        : operation(testedOperation), runs(testedRuns) {}

    void TestBody() override { (operation.*runs)(); }

private:
    const Operation& operation;
    void (Operation::*const runs)() const;
};

void addTest(const Operation& operation, const char* suite, const std::string& name,
             void (Operation::*runs)() const) {
    testing::RegisterTest(
        suite, name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
        [&operation, runs]() -> testing::Test* { return new OperationTest(operation, runs); });
}

} // namespace

Operation::Operation(const char* suite, const char* name, const char* promise, Body operationBody,
                     unsigned int operationExceptions)
    : operation(name), promised(promise), body(operationBody), exceptions(operationExceptions) {
    addTest(*this, suite, std::string(name) + "_without_memory", &Operation::runWithoutMemory);
    addTest(*this, suite, std::string(name) + "_when_a_call_fails", &Operation::runWithFailingCalls);
}

void Operation::runWithoutMemory() const {
    warmUp();
    failEachAllocation(Fault::Kind::OneAllocation);
    if ((exceptions & NeedsSomeMemory) == 0 && !testing::Test::HasFailure())
        failEachAllocation(Fault::Kind::AllAllocations);
}

void Operation::failEachAllocation(Fault::Kind kind) const {
    unsigned int failures = 0;
    for (bool hasHappened = true; hasHappened; ++failures) {
        Fault fault(kind, failures + 1);
        if (!run(fault))
            return;
        hasHappened = fault.hasHappened();
    }
    testing::Test::RecordProperty("allocations", static_cast<int>(failures) - 1);
}

void Operation::runWithFailingCalls() const {
    warmUp();
    unsigned int number = 1;
    for (std::size_t index = 0;; ++index) {
        Fault fault(Fault::Kind::SystemCall, number, index);
        if (!run(fault))
            return;
        if (fault.getCount() < number)
            break;
        if (fault.hasNoSuchError()) {
            ++number;
            index = static_cast<std::size_t>(-1);
        }
    }
    testing::Test::RecordProperty("calls", static_cast<int>(number) - 1);
}

/// What the first run makes stays until the process ends: it serves the runs that follow.
void Operation::warmUp() const {
    Fault nothing(Fault::Kind::Nothing);
    runBody(nothing);
}

/// \return whether all is well
bool Operation::run(Fault& fault) const {
    fault.failsPlainMutexes = (exceptions & FailsPlainMutexes) != 0;
    const int descriptors = countDescriptors();
    const long blocks = heapBlocks;
    if (!runBody(fault))
        return false;
    if ((exceptions & LeavesBus) == 0)
        EXPECT_EQ(countDescriptors(), descriptors) << "descriptors are left";
    if ((exceptions & (LeavesBus | LeavesMemory)) == 0)
        EXPECT_LE(heapBlocks, blocks) << "blocks are left";
    return isWell(fault);
}

bool Operation::runBody(Fault& fault) const {
    try {
        body(fault);
    } catch (const std::exception& thrown) {
        ADD_FAILURE() << "threw: " << thrown.what();
    }
    return isWell(fault);
}

bool Operation::isWell(const Fault& fault) const {
    if (!testing::Test::HasFailure())
        return true;
    ADD_FAILURE() << operation << " promises: " << promised << "\nbut not when " << fault.describe()
                  << "\nlines:\n"
                  << fault.getLines();
    return false;
}

} // namespace KX::test

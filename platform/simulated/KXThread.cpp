#include "platform/KXThread.h"

#include "platform/KXStatus.h"
#include "platform/simulated/Accounts.h"
#include "platform/simulated/Scheduler.h"

#include <memory>

namespace KX {

namespace {

constexpr int highestPriority = 99; // as on Linux

class SimulatedThread : public KXThread {
public:
    explicit SimulatedThread(const std::string& name) {
        participant.name = name;
        ++livingObjects.threads;
    }

    ~SimulatedThread() override {
        SimulatedThread::stopAndWait();
        --livingObjects.threads;
    }

    void setEntryFunction(void* (*function)(void*), void* argument) override {
        entry = function;
        entryArgument = argument;
    }

    int start(int priority, unsigned int /*stackSize*/) override {
        if (priority < 0 || priority > highestPriority)
            return STATUS_OUT_OF_RANGE;
        if (!entry || scheduler.isRunningOrWaiting(participant))
            return STATUS_REFUSED;
        return launch();
    }

    int stopAndWait() override { return scheduler.stop(participant) ? STATUS_OK : STATUS_REFUSED; }

private:
    int launch() {
        // Handed over by value: setEntryFunction on a running thread has no effect on it.
        const auto body = [function = entry, argument = entryArgument] { function(argument); };
        participant.coroutine = std::make_unique<Coroutine>(body);
        participant.id = newThreadId();
        scheduler.runLaunched(participant);
        return STATUS_OK;
    }

    Scheduler& scheduler = Scheduler::instance();
    Participant participant;
    void* (*entry)(void*) = nullptr;
    void* entryArgument = nullptr;
};

} // namespace

KXThread::KXThread() = default;
KXThread::~KXThread() = default;

KXThread* KXThread::create(const std::string& name) {
    return faults.threads.take() ? nullptr : new SimulatedThread(name);
}

unsigned int KXThread::getCurrentThreadID() {
    return currentThreadId();
}

} // namespace KX

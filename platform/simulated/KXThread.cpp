#include "platform/KXThread.h"

#include "platform/KXStatus.h"
#include "platform/simulated/Accounts.h"
#include "platform/simulated/Scheduler.h"

#include <system_error>
#include <thread>

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

    int stopAndWait() override {
        if (!thread.joinable())
            return STATUS_OK;
        if (!scheduler.stop(participant))
            return STATUS_REFUSED;
        thread.join();
        return STATUS_OK;
    }

private:
    int launch() {
        if (thread.joinable())
            thread.join(); // of an earlier run that has ended
        participant.id = newThreadId();
        participant.stopping = false;
        scheduler.setState(participant, Participant::State::running);
        try {
            // Handed over by value: setEntryFunction on a running thread has no effect on it.
            thread = std::thread([this, function = entry, argument = entryArgument] {
                Scheduler::become(participant);
                function(argument);
                scheduler.end(participant);
            });
        } catch (const std::system_error&) {
            scheduler.setState(participant, Participant::State::ended);
            return STATUS_REFUSED;
        }
        scheduler.runLaunched(participant);
        return STATUS_OK;
    }

    Scheduler& scheduler = Scheduler::instance();
    Participant participant;
    std::thread thread;
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

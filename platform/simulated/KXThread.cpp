#include "platform/KXThread.h"

#include "platform/simulated/Accounts.h"
#include "platform/simulated/Scheduler.h"

#include <system_error>
#include <thread>

namespace KX {

namespace {

using simulated::Participant;
using simulated::Scheduler;

constexpr int highestPriority = 99; // as on Linux

class SimulatedThread : public KXThread {
public:
    explicit SimulatedThread(const std::string& name) {
        participant.name = name;
        ++simulated::living.threads;
    }

    ~SimulatedThread() override {
        SimulatedThread::stopAndWait();
        --simulated::living.threads;
    }

    void setEntryFunction(void* (*function)(void*), void* argument) override {
        entry = function;
        entryArgument = argument;
    }

    int start(int priority, unsigned int /*stackSize*/) override {
        if (priority < 0 || priority > highestPriority)
            return 24;
        if (entry == nullptr || scheduler.isRunningOrWaiting(participant))
            return 20;
        return launch();
    }

    int stopAndWait() override {
        if (!thread.joinable())
            return 0;
        if (!scheduler.stop(participant))
            return 20;
        thread.join();
        return 0;
    }

private:
    int launch() {
        if (thread.joinable())
            thread.join(); // of an earlier run that has ended
        participant.id = simulated::newThreadId();
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
            return 20;
        }
        scheduler.runLaunched(participant);
        return 0;
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
    return simulated::faults.threads.take() ? nullptr : new SimulatedThread(name);
}

unsigned int KXThread::getCurrentThreadID() {
    return simulated::currentThreadId();
}

} // namespace KX

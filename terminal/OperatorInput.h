#pragma once

#include "terminal/InputGate.h"
#include "terminal/SessionRecorder.h"
#include "tools/recording/RecordedCalls.h"

namespace Terminal {

/// The way on which everything that the operator does reaches the library, and on which it is recorded. The
/// toolkit's thread.
class OperatorInput {
public:
    /// \param sessionRecorder  null: nothing is recorded
    OperatorInput(KX::KXInputEventManager& inputEventManager, InputGate& inputGate,
                  SessionRecorder* sessionRecorder)
        : manager(inputEventManager), gate(inputGate), recorder(sessionRecorder) {}

    /// Makes a call to the library, with an event or a setting, and notes it before.
    /// \return the library's status
    template<typename Call>
    int deliver(const Call& call) {
        const InputGate::Hold hold(gate);
        if (recorder)
            recorder->note(call);
        return Recording::repeatCall(call, manager);
    }

private:
    KX::KXInputEventManager& manager;
    InputGate& gate;
    SessionRecorder* const recorder;
};

} // namespace Terminal

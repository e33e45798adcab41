#pragma once

#include "terminal/session/WorkerHold.h"
#include "tools/recording/RecordingFile.h"

#include <mutex>
#include <string>

namespace Terminal {

/// Writes down what reaches the input event manager while it observes it. Any thread.
class SessionRecorder : public WorkerHold {
public:
    /// \throws std::runtime_error  "path: why", when the file cannot be made
    explicit SessionRecorder(const std::string& path);

    /// Ends the recording; what comes afterwards is left out.
    /// \return whether all was written
    bool end();

    void onToolkitEvent(const KX::KXToolkitEvent& event) override;
    void onSetting(KX::KXInputSetting setting, std::int64_t value) override;
    void onSpeedTable(const std::vector<KX::KXEncoderDynamicPair>& pairs) override;
    void onKeyMapping(const std::map<int, int>& mapping) override;
    void onKeypad(const KX::CANRemoteOptions& options) override;
    void onFrame(const KX::KXCANMessage& frame) override;
    void onPass(unsigned int tick) override;

private:
    void note(const Recording::Input& input);
    void write(unsigned int tick, const Recording::Input& input);

    std::mutex lock;
    Recording::File file;  // guarded by lock
    bool hasEnded = false; // guarded by lock
};

} // namespace Terminal

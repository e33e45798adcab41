#include "terminal/session/SessionRecorder.h"

#include "platform/KXTick.h"

#include <cstdio>
#include <memory>

namespace Terminal {

namespace {

// By the number that the library knows it by: the name of the interface may be another on the next machine.
constexpr const char* keypadBus = "can0";

} // namespace

SessionRecorder::SessionRecorder(const std::string& path) : file(path, "kxterminal " KXTERMINAL_VERSION) {}

void SessionRecorder::onToolkitEvent(const KX::KXToolkitEvent& event) {
    note(event);
}

void SessionRecorder::onSetting(KX::KXInputSetting setting, std::int64_t value) {
    if (setting != KX::KXInputSetting::KeyboardLayout) // no event depends on it
        note(Recording::NumberSetting{setting, value});
}

void SessionRecorder::onSpeedTable(const std::vector<KX::KXEncoderDynamicPair>& pairs) {
    note(Recording::SpeedTable{pairs});
}

void SessionRecorder::onKeyMapping(const std::map<int, int>& mapping) {
    note(Recording::KeyMapping{mapping});
}

void SessionRecorder::onKeypad(const KX::CANRemoteOptions& options) {
    note(Recording::Keypad{std::make_shared<const KX::CANRemoteOptions>(options)});
}

void SessionRecorder::onFrame(const KX::KXCANMessage& frame) {
    note(Recording::Frame{keypadBus, frame});
}

void SessionRecorder::onPass(unsigned int tick) {
    const std::lock_guard<std::mutex> guard(lock);
    write(tick, Recording::Pass());
}

bool SessionRecorder::end() {
    const std::lock_guard<std::mutex> guard(lock);
    write(KX::KXTick::getTickCount(), Recording::End());
    hasEnded = true;
    return !file.problem();
}

// The tick is asked for under the lock: an entry that waits for another to be written is not earlier than that.
void SessionRecorder::note(const Recording::Input& input) {
    const std::lock_guard<std::mutex> guard(lock);
    write(KX::KXTick::getTickCount(), input);
}

// The terminal goes on without its recording: the operator works with it.
void SessionRecorder::write(unsigned int tick, const Recording::Input& input) {
    if (hasEnded || file.problem())
        return;
    if (!file.write(tick, input))
        std::fprintf(stderr, "kxterminal: --record: %s; the recording ends here\n", file.problem()->c_str());
}

} // namespace Terminal

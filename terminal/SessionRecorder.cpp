#include "terminal/SessionRecorder.h"

#include "platform/KXTick.h"

#include <cstdio>
#include <utility>

namespace Terminal {

SessionRecorder::SessionRecorder(const std::string& path) : file(path, "kxterminal " KXTERMINAL_VERSION) {}

// The tick is asked for under the lock: an entry that waits for another to be written is not earlier than that.
void SessionRecorder::note(const Recording::Input& input) {
    const std::lock_guard<std::mutex> guard(lock);
    write(KX::KXTick::getTickCount(), input);
}

void SessionRecorder::notePass(unsigned int tick) {
    const std::lock_guard<std::mutex> guard(lock);
    write(tick, Recording::Pass());
}

bool SessionRecorder::end() {
    const std::lock_guard<std::mutex> guard(lock);
    write(KX::KXTick::getTickCount(), Recording::End());
    hasEnded = true;
    return !file.problem();
}

// The terminal goes on without its recording: the operator works with it.
void SessionRecorder::write(unsigned int tick, const Recording::Input& input) {
    if (hasEnded || file.problem())
        return;
    if (!file.write(tick, input))
        std::fprintf(stderr, "kxterminal: --record: %s; the recording ends here\n", file.problem()->c_str());
}

} // namespace Terminal

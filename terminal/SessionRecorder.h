#pragma once

#include "tools/recording/RecordingFile.h"

#include <mutex>
#include <string>

namespace Terminal {

/// Writes down a session while it goes on: what the operator does, on the toolkit's thread, and the worker's frames
/// and passes. Any thread; whoever cares for the order of two entries sees to it that they come one after the other.
class SessionRecorder {
public:
    /// \throws std::runtime_error  "path: why", when the file cannot be made
    explicit SessionRecorder(const std::string& path);

    /// What happens now.
    void note(const Recording::Input& input);

    void notePass(unsigned int tick);

    /// Ends the recording; what is noted afterwards is left out.
    /// \return whether all was written
    bool end();

private:
    void write(unsigned int tick, const Recording::Input& input);

    std::mutex lock;
    Recording::File file;  // guarded by lock
    bool hasEnded = false; // guarded by lock
};

} // namespace Terminal

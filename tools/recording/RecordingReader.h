#pragma once

#include "tools/recording/Recording.h"

#include <functional>
#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Recording {

/// The file is bad. The text is one line that begins with the name: "file:line: problem" or "file: problem".
class BadFile : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A session from a file.
struct Session {
    /// Whether this is only a log of a CAN bus. The frames are then the only input, and their keys must be
    /// delivered. In a recording the keys follow as toolkit events with their own time.
    bool isPlainLog = false;

    /// Whether the file has the passes of the worker thread; otherwise the player makes them.
    bool hasPasses = false;

    std::vector<Entry> entries; ///< in time order
};

/// Receives a warning in one line: "file:line: text".
using Warn = std::function<void(const std::string&)>;

/// Time of the first frame of a plain log, which has an epoch of its own.
constexpr std::uint64_t plainLogStartMs = 1000;

/// Reads a recording, or a plain log in the format of can-utils, to its end.
///
/// In a recording, a last line without a line end is ignored with a warning, because a crash has cut it. Lines and
/// words of a newer version are ignored with one warning for all. In a plain log, error and remote frames are
/// ignored, because the library never gets them. A frame that is older than a previous one takes the time of that
/// one.
/// \param name  of the file, for messages
/// \throws BadFile
Session read(std::istream& input, const std::string& name, const Warn& warn);

/// \ref read from the file at \p path; "-" is standard input.
Session readFile(const std::string& path, const Warn& warn);

} // namespace Recording

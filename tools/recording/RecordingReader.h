#pragma once

#include "tools/recording/Recording.h"

#include <functional>
#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Recording {

/// What is wrong with a file, on one line that begins with its name: "file:line: what", or "file: what".
class BadFile : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A session as it is in a file.
struct Session {
    /// A log of a CAN bus and nothing else. Its frames are all the input there is: the keys that the library makes
    /// of them are to be delivered. In a recording they follow as toolkit events, with their own time.
    bool isPlainLog = false;

    /// Whether the passes of the worker thread are in it; else they are to be made.
    bool hasPasses = false;

    std::vector<Entry> entries; ///< in time order
};

/// Takes a warning: "file:line: what", in one line.
using Warn = std::function<void(const std::string&)>;

/// Time of the first frame of a plain log, whose own epoch is that of whoever wrote it.
constexpr std::uint64_t plainLogStartMs = 1000;

/// Reads a recording, or a plain log in the format of can-utils, to its end.
///
/// A last line without a line end, which a crash leaves, is left out of a recording with a warning. Lines and
/// words that a newer version has added are left out with one warning for all. In a plain log error and remote
/// frames are left out, which the library never gets, and a frame earlier than one before it takes that one's time.
/// \param name  of the file, for messages
/// \throws BadFile
Session read(std::istream& input, const std::string& name, const Warn& warn);

/// \ref read from the file at \p path; "-" is standard input.
Session readFile(const std::string& path, const Warn& warn);

} // namespace Recording

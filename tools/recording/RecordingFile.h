#pragma once

#include "tools/recording/Recording.h"

#include <optional>
#include <string>

namespace Recording {

/// Writes a recording.
///
/// Each entry reaches the system before the call returns, so it survives the end of the process. A crash can cut
/// only the last line. One thread at a time.
class File {
public:
    /// Creates the file with its first lines. The umask decides who may read it.
    /// \param program  name and version of the writer, for a comment
    /// \throws std::runtime_error  "path: reason"; also when the file is not empty, because it is never
    /// overwritten
    File(std::string path, const std::string& program);
    ~File();

    File(const File&) = delete;
    File& operator=(const File&) = delete;

    /// Appends an entry with the time of \p tick, which must not be before the previous one. After a failure
    /// nothing more is written, so that no line is missing between others.
    /// \return whether the entry was written
    bool write(unsigned int tick, const Input& input);

    /// Why writing failed, in one line; nothing as long as it works.
    const std::optional<std::string>& problem() const { return failure; }

private:
    bool append(std::string_view text);

    const std::string name;
    int descriptor = -1;
    std::optional<std::uint64_t> lastMs;
    std::optional<std::string> failure;
};

} // namespace Recording

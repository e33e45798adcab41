#pragma once

#include "tools/recording/Recording.h"

#include <optional>
#include <string>

namespace Recording {

/// A recording that is being written.
///
/// Each entry is handed to the system before the call returns, so that what was written is there whatever becomes
/// of the process; a crash can cut the last line at most. One thread at a time.
class File {
public:
    /// Makes the file, readable for everybody whom the process lets, with its first lines.
    /// \param program  name and version of the writer, for a comment
    /// \throws std::runtime_error  "path: why"; also when something is in the file already, which is not overwritten
    File(std::string path, const std::string& program);
    ~File();

    File(const File&) = delete;
    File& operator=(const File&) = delete;

    /// Appends an entry with the time of \p tick; \p tick is not before that of the last one.
    /// After a failure nothing is written any more, so that no line is missing between others.
    /// \return whether it was written
    bool write(unsigned int tick, const Input& input);

    /// Why writing failed, in one line; nothing when it has not.
    const std::optional<std::string>& problem() const {
        return failure;
    }

private:
    bool append(std::string_view text);

    const std::string name;
    int descriptor = -1;
    std::optional<std::uint64_t> lastMs;
    std::optional<std::string> failure;
};

} // namespace Recording

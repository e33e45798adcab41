#pragma once

#include "recording/KXRecording.h"
#include "recording/format/BackgroundSync.h"

#include <functional>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace KX::Recording {

/// Writes a recording.
///
/// A flushed entry has reached the system, so it survives the end of the process. A crash can cut only the last line.
/// A lock keeps other writers away. Only the owner may read and write the file. The child of a fork neither ends nor
/// discards what its parent writes. One thread at a time.
class File {
public:
    /// Creates the file with its first lines, and waits until the disk has its name. An empty file is taken over, a
    /// pipe or a device as well; a symbolic link is not followed.
    /// \throws std::runtime_error  "path: reason"; also when the file is not empty, because it is never
    /// overwritten, belongs to another user or has a writer
    explicit File(std::string path);
    ~File();

    File(const File&) = delete;
    File& operator=(const File&) = delete;

    /// Adds an entry, whose time must not be before that of the previous one, for the next \ref flush. A large buffer
    /// is flushed at once. A long key mapping becomes several lines. Any other line that is longer than \ref
    /// longestLine counts as a failure, because no reader takes it.
    void add(const Entry& entry);

    /// Hands what was added to the system. After a failure nothing more is written, so that no line is missing between
    /// others.
    /// \return whether all entries were written
    bool flush();

    /// Starts to put onto the disk what was flushed. Does not wait for the disk. To be called again and again:
    /// each call learns only how the one before has ended.
    /// \return whether the disk has taken all so far; a pipe or a device needs none
    bool startSync();

    /// Ends the file: flushes, and waits until the disk has it. Nothing may be added any more.
    /// \return whether all entries are on the disk; of a pipe or a device, whether it took them
    bool finish();

    /// Ends the file and takes it back: it is removed, or empty if it was there before. Nothing may be added any more.
    void discard();

    /// Whether somebody has removed the file, which counts as a failure. A file that was moved is still there.
    bool isGone();

    /// Takes back all entries. A pipe or a device cannot do that.
    /// \return whether the file is as new
    bool restart();

    /// Why writing failed, in one line "path: reason"; nothing as long as it works.
    const std::optional<std::string>& problem() const { return failure; }

private:
    void open();
    void claim();
    void makePrivate(const struct stat& state);
    [[noreturn]] void refuse(const std::string& why);
    [[noreturn]] void refuseAsOthers(const std::string& why);
    void addHead();
    void addLine(const Entry& entry);
    void fail(int error, const char* during = "");
    bool syncName();
    bool hasItsName() const;
    bool isOfAnotherProcess();

    const std::string name;
    const pid_t maker = getpid();
    int descriptor = -1; // closed
    bool isMade = false; // by this object
    bool isRegular = false;
    bool hasSizeLimit; // of the process, when it was asked for last
    dev_t device = 0;  // which the file is on, and its number there
    ino_t number = 0;
    BackgroundSync sync;
    std::string buffer;
    std::optional<std::string> failure;
};

/// Makes a file, lets \p addAll add the entries and waits until the disk has them. When something throws, there is no
/// new file.
/// \throws std::runtime_error  "path: reason"
void writeNewFile(const std::string& path, const std::function<void(File&)>& addAll);

} // namespace KX::Recording

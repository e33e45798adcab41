#pragma once

#include "platform/KXExport.h"
#include "recording/KXRecording.h"

#include <istream>
#include <memory>
#include <string>

namespace KX::Recording {

/// Reads a recording, or a plain log, one entry after the other. It needs the same memory for an hour and for a year,
/// and reads no further than to the line end of the entry, so it also reads from a pipe that is still written.
///
/// \ref read has the rules for cut lines, words of a newer version and frames that the library never gets.
///
/// One thread at a time. Blocks only while the stream does.
class KX_RECORDING_API Reader {
public:
    /// \param input  must outlive the reader
    /// \param name   of the file, for messages
    /// \param warn   the words of a newer version are told at the end of the input
    Reader(std::istream& input, std::string name, Warn warn);
    ~Reader();

    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// The next entry, which the caller may move from. Valid until the next call.
    /// \return null at the end
    /// \throws BadFile
    Entry* next();

    /// Whether the input is only a log of a CAN bus. Known once \ref next has returned.
    bool isPlainLog() const;

private:
    class KX_LOCAL Lines;

    const std::unique_ptr<Lines> lines;
};

} // namespace KX::Recording

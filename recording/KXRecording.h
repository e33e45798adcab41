#pragma once

#include "encoder/KXEncoderDynamic.h"
#include "events/KXSomeEvent.h"
#include "input/CANRemoteOptions.h"
#include "input/KXInputObserver.h"
#include "platform/KXCANMessage.h"
#include "platform/KXExport.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <istream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

/// Recordings of an operator's session: every input of the library with its tick.
///
/// docs/recording.md describes the file format. This code uses no clock, no platform and no toolkit. Its functions have
/// no state: any thread may call them. They block only while a file or a stream is read or written.
namespace KX::Recording {

/// A call that set a number: setDoubleKeyPressDuration, setLongKeyPressDuration, setUserFactor, setLowPassFactor or
/// acceptInput (0 or 1). Refused calls are recorded, too.
struct NumberSetting {
    KXInputSetting name; ///< which one
    std::int64_t value;  ///< its argument, in the unit that settingTable tells
};

/// A call of setDynamicParameters.
struct SpeedTable {
    std::vector<KXEncoderDynamicPair> rows; ///< its argument
};

/// A call of setKeyMapping.
struct KeyMapping {
    std::map<int, int> keyCodeOfToolkitKey; ///< its argument
};

/// A call of setCANRemoteOptions with an enabled and checked layout.
struct Keypad {
    std::shared_ptr<const CANRemoteOptions> layout; ///< never null
};

/// A frame that the library read from a CAN bus.
struct Frame {
    std::string bus;      ///< "can" and its number
    KXCANMessage message; ///< as it was read
};

/// An event that was posted past classification: postToEventQueue, postESCtoEventQueue.
struct Post {
    KXSomeEvent event; ///< as it was posted
};

/// A pass of the worker thread, in which long presses and bundles of encoder steps become due.
struct Pass {};

/// The recording was ended properly, not cut off.
struct End {};

/// Toolkit events are stored as they were before the library changed them. Input events are those that were handed
/// to inputEventOccurred.
using Input = std::variant<KXToolkitEvent, KXInputEvent, Post, Frame, NumberSetting, SpeedTable, KeyMapping,
                           Keypad, Pass, End>;

/// One input of the library.
struct Entry {
    /// In ms. The low 32 bits are the tick. It continues when the tick wraps and never decreases.
    std::uint64_t timeMs = 0;
    Input input;          ///< what happened
    std::size_t line = 0; ///< in the file, from 1

    /// The tick, in ms.
    unsigned int tick() const { return static_cast<unsigned int>(timeMs); }
};

/// The file is bad. The text is one line that begins with the name: "file:line: problem" or "file: problem".
class KX_RECORDING_API BadFile : public std::runtime_error {
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

/// Receives a warning in one line: "file:line: text". An empty function leaves the warnings out.
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
KX_RECORDING_API Session read(std::istream& input, const std::string& name, const Warn& warn);

/// \ref read from the file at \p path; "-" is standard input.
KX_RECORDING_API Session readFile(const std::string& path, const Warn& warn);

/// Writes a recording that \ref read reads with the same entries, for a tool that shortens or changes one. Blocks until
/// the disk has it.
/// \param path  of a new file, or of an empty one
/// \throws std::runtime_error  "path: reason"; a file that was made is then removed. Reasons are also entries
///         whose time goes back or leaps by 2^31 ms or more, entries behind \ref End, a setting or a value that is not
///         in settingTable, a frame of more than 8 bytes or of a bus whose name is empty or has blanks, a keypad that
///         a reader refuses, and the log of a CAN bus, which is no recording.
KX_RECORDING_API void writeFile(const std::string& path, const Session& session);

} // namespace KX::Recording

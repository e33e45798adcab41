#pragma once

#include "encoder/KXEncoderDynamic.h"
#include "events/KXEvent.h"
#include "input/CANRemoteOptions.h"
#include "input/KXInputObserver.h"
#include "platform/KXCANMessage.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// Recordings of an operator's session: every input of the library with its tick.
///
/// docs/recording.md describes the file format. This code uses no clock, no platform and no toolkit.
namespace Recording {

/// A call that set a number: setDoubleKeyPressDuration, setLongKeyPressDuration, setUserFactor, setLowPassFactor or
/// acceptInput (0 or 1). Refused calls are recorded, too.
struct NumberSetting {
    KX::KXInputSetting name;
    std::int64_t value;
};

/// A call of setDynamicParameters.
struct SpeedTable {
    std::vector<KX::KXEncoderDynamicPair> rows;
};

/// A call of setKeyMapping.
struct KeyMapping {
    std::map<int, int> keyCodeOfToolkitKey;
};

/// A call of setCANRemoteOptions with an enabled and checked layout.
struct Keypad {
    std::shared_ptr<const KX::CANRemoteOptions> layout; ///< never null
};

/// A frame that the library read from a CAN bus.
struct Frame {
    std::string bus;
    KX::KXCANMessage message;
};

/// A pass of the worker thread, in which long presses and bundles of encoder steps become due.
struct Pass {};

/// The recording was ended properly, not cut off.
struct End {};

/// Toolkit events are stored as they were before the library changed them.
using Input = std::variant<KX::KXToolkitEvent, Frame, NumberSetting, SpeedTable, KeyMapping, Keypad, Pass, End>;

struct Entry {
    /// In ms. The low 32 bits are the tick. It continues when the tick wraps and never decreases.
    std::uint64_t timeMs = 0;
    Input input;
    std::size_t line = 0; ///< in the file, from 1

    unsigned int tick() const { return static_cast<unsigned int>(timeMs); }
};

/// The first line of a recording, without a line end.
std::string_view firstLine();

/// An entry as one line, without a line end; \c line is ignored. Reading the line gives the same entry, for times
/// below 10^15 ms.
std::string format(const Entry& entry);

/// Reads an entry from a line that is neither a comment nor a line of a CAN log.
/// \param previousMs   time of the previous line; nothing for the first one
/// \param toolkitKeys  from key codes to the toolkit's keys, to check a keypad
/// \param unknown      set to words of a newer version that are ignored; otherwise unchanged
/// \return nothing when the whole line is of a newer version
/// \throws std::runtime_error  the problem, in one line
std::optional<Entry> parse(std::string_view line, std::optional<std::uint64_t> previousMs,
                           const std::map<int, int>& toolkitKeys, std::string& unknown);

/// The time of an entry at \p tick after an entry at \p previousMs.
/// \throws std::runtime_error  the tick is earlier
std::uint64_t continueTime(unsigned int tick, std::optional<std::uint64_t> previousMs);

} // namespace Recording

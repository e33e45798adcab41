#pragma once

#include "encoder/KXEncoderDynamic.h"
#include "events/KXEvent.h"
#include "input/CANRemoteOptions.h"
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

/// Recordings of an operator's session: every input that reached the library, each with its tick.
///
/// The file format is described in docs/recording.md. Nothing here knows a clock, a platform or a toolkit.
namespace Recording {

/// The settings that are one number.
enum class NumberName { DoublePress, LongPress, UserFactor, LowPass, AcceptInput };

/// A call that set one of them: setDoubleKeyPressDuration, setLongKeyPressDuration, setUserFactor,
/// setLowPassFactor, acceptInput (0 or 1). It is recorded whether it was refused or not.
struct NumberSetting {
    NumberName name;
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

/// A call of setCANRemoteOptions with a layout that is enabled and was checked.
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

/// The recording was ended, not cut off.
struct End {};

/// Toolkit events stand as they were before the library changed them.
using Input = std::variant<KX::KXToolkitEvent, Frame, NumberSetting, SpeedTable, KeyMapping, Keypad, Pass, End>;

struct Entry {
    /// In ms; its low 32 bits are the tick. It goes on where the tick wraps, and never back.
    std::uint64_t timeMs = 0;
    Input input;
    std::size_t line = 0; ///< in the file, from 1

    unsigned int tick() const {
        return static_cast<unsigned int>(timeMs);
    }
};

/// The first line of a recording, without a line end.
std::string_view firstLine();

/// An entry as one line, without a line end; \c line does not matter. What is read from it is the same again, for
/// times below 10^15 ms.
std::string format(const Entry& entry);

/// A line of our own (not a comment and not one of a CAN log) as an entry.
/// \param previousMs   time of the line before; nothing for the first
/// \param toolkitKeys  from key codes to the toolkit's keys, against which a keypad is checked
/// \param unknown      set to the words that a newer version has added and that do not count; else left alone
/// \return nothing when the whole line is one that a newer version has added
/// \throws std::runtime_error  what is wrong with the line, in one line
std::optional<Entry> parse(std::string_view line, std::optional<std::uint64_t> previousMs,
                           const std::map<int, int>& toolkitKeys, std::string& unknown);

/// The time of an entry at \p tick that follows one at \p previousMs.
/// \throws std::runtime_error  the tick lies before it
std::uint64_t continueTime(unsigned int tick, std::optional<std::uint64_t> previousMs);

} // namespace Recording

#pragma once

#include "recording/KXRecording.h"
#include "recording/format/Text.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

/// The lines of a recording: docs/recording.md.
namespace KX::Recording {

constexpr std::string_view formatWord = "kxrecording";

/// Version 2 added the lines `input` and `post`. Both versions are read.
constexpr unsigned int oldestVersion = 1;
constexpr unsigned int newestVersion = 2;

/// The bus of the keypad, by the number that the library knows: the name of the interface may differ on the next
/// machine.
constexpr const char* keypadBus = "can0";

/// Of a recording, without the line end. No longer line is written or read.
constexpr std::size_t longestLine = Text::longestLine;

/// The first line of a recording, without a line end.
std::string_view firstLine();

/// Appends an entry as one line without a line end; \c line is ignored. Reading the line gives the same entry, for
/// times below 10^15 ms.
void format(const Entry& entry, std::string& text);
std::string format(const Entry& entry);

/// Reads an entry from a line that is neither a comment nor a line of a CAN log.
/// \param previousMs   time of the previous line; nothing for the first one
/// \param toolkitKeys  from key codes to the toolkit's keys, to check a keypad
/// \param unknown      set to words of a newer version that are ignored; otherwise unchanged
/// \param entry        gets time and input
/// \return false when the whole line is of a newer version; the entry is then of no use
/// \throws std::runtime_error  the problem, in one line
bool parse(std::string_view line, std::optional<std::uint64_t> previousMs, const std::map<int, int>& toolkitKeys,
           Entry& entry, std::string& unknown);

/// The time of an entry at \p tick after an entry at \p previousMs.
/// \throws std::runtime_error  the tick is earlier
std::uint64_t continueTime(unsigned int tick, std::optional<std::uint64_t> previousMs);

} // namespace KX::Recording

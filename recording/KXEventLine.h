#pragma once

#include "platform/KXExport.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace KX {

class KXInputEvent;

/// A classified event as one line of text, as kxterminal and kxreplay print it. An application that prints its events
/// like this can compare them with those of a replay.
///
///     <timeStamp> <NAME> class=<n> key=<keyCode> os=0x<osKeyCode> value=<n> count=<n> data=<d0>,<d1>,<d2>,<d3>
///
/// Numbers are decimal in every locale, except for the toolkit's key. It is hexadecimal, in lower case without
/// leading zeros, as in the toolkit's own tables; "-1" means none.
///
/// Any thread; takes no lock.
class KX_RECORDING_API KXEventLine {
public:
    /// Writes the line of \p event; the event is not needed afterwards.
    explicit KXEventLine(const KXInputEvent& event);

    /// The line without a line end. Valid as long as this object.
    std::string_view text() const;

    /// The line with its line end, so that one write prints it. Valid as long as this object.
    std::string_view textWithLineEnd() const;

private:
    KX_LOCAL void append(std::string_view part);
    KX_LOCAL void appendNumber(long long number, int base = 10);

    // The longest line has 10 digits of time, the longest event name (44) and 11 more numbers with up to 11
    // characters each, and 40 characters of labels: well below 256.
    std::array<char, 256> characters;
    std::size_t length = 0; // without the line end
};

} // namespace KX

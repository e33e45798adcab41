#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace KX {
class KXInputEvent;
}

namespace EventLine {

/// A classified event as one line of text. All programs of the project print events in this format:
///
///     <timeStamp> <NAME> class=<n> key=<keyCode> os=0x<osKeyCode> value=<n> count=<n> data=<d0>,<d1>,<d2>,<d3>
///
/// Numbers are decimal in every locale, except for the toolkit's key. It is hexadecimal, in lower case without
/// leading zeros, as in the toolkit's own tables; "-1" means none.
class Line {
public:
    explicit Line(const KX::KXInputEvent& event);

    /// The line without a line end. Valid as long as this object.
    std::string_view text() const;

    /// The line with its line end, so that one write prints it.
    std::string_view textWithLineEnd() const;

private:
    void append(std::string_view part);
    void appendNumber(long long number, int base = 10);

    // The longest line has 10 digits of time, the longest event name (44) and 11 more numbers with up to 11
    // characters each, and 40 characters of labels: well below 256.
    std::array<char, 256> characters;
    std::size_t length = 0; // without the line end
};

} // namespace EventLine

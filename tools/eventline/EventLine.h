#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace KX {
class KXInputEvent;
}

namespace EventLine {

/// A classified event as one line of text, the same in every program that prints events:
///
///     <timeStamp> <NAME> class=<n> key=<keyCode> os=0x<osKeyCode> value=<n> count=<n> data=<d0>,<d1>,<d2>,<d3>
///
/// Numbers are decimal whatever the locale. The toolkit's key alone is hexadecimal, in lower case without leading
/// zeros, because that is how the toolkit's own tables write it; a missing one is "-1".
class Line {
public:
    explicit Line(const KX::KXInputEvent& event);

    /// The line without a line end; valid as long as this object.
    std::string_view text() const;

    /// The line with the line end that makes one write of it.
    std::string_view textWithLineEnd() const;

private:
    void append(std::string_view part);
    void appendNumber(long long number, int base = 10);

    // The longest line has 10 digits of time, the longest name of the catalogue (44) and 11 more numbers of at
    // most 11 characters with 40 characters of labels between them: well below 256.
    std::array<char, 256> characters;
    std::size_t length = 0; // without the line end
};

} // namespace EventLine

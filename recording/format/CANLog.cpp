#include "recording/format/CANLog.h"

#include "recording/format/Text.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace KX::CanBus {

namespace {

constexpr std::size_t longestData = 8;
constexpr long long microsecondsPerSecond = 1000000;
constexpr std::size_t mostSecondsDigits = 12; // leaves room when microseconds are stored in 64 bits

[[noreturn]] void fail(const std::string& reason) {
    throw std::runtime_error(reason);
}

std::uint32_t parseIdentifier(std::string_view text) {
    std::uint32_t identifier = 0;
    if ((text.size() != 3 && text.size() != 8) || !Text::parseNumber(text, 16, identifier))
        fail("the identifier " + Text::quoted(text) + " has not 3 or 8 hexadecimal digits");
    if (text.size() == 3) {
        if (identifier > standardIdentifierBits)
            fail("the identifier " + Text::quoted(text) + " is above 7FF; one of 29 bits has 8 digits");
        return identifier;
    }
    if (identifier > (extendedIdentifierBits | errorFlag))
        fail("the identifier " + Text::quoted(text) + " is above 1FFFFFFF");
    return (identifier & errorFlag) != 0 ? identifier : identifier | extendedFlag;
}

void parseRemote(std::string_view text, KXCANMessage& frame) {
    frame.canId |= remoteFlag;
    frame.canLength = 0;
    if (!text.empty() &&
        (text.size() != 1 || !Text::parseNumber(text, 10, frame.canLength) || frame.canLength > longestData))
        fail("the length " + Text::quoted(text) + " of a remote frame is not 0 to 8");
}

void parseData(std::string_view text, KXCANMessage& frame) {
    const std::string_view whole = text;
    frame.canLength = 0;
    while (!text.empty()) {
        if (frame.canLength > 0 && text.front() == '.')
            text.remove_prefix(1);
        unsigned char byte = 0;
        if (text.size() < 2 || !Text::parseNumber(text.substr(0, 2), 16, byte))
            fail("the data " + Text::quoted(whole) + " are not bytes of two hexadecimal digits each");
        if (frame.canLength == longestData)
            fail("the data " + Text::quoted(whole) + " are more than 8 bytes");
        frame.canData[frame.canLength++] = byte;
        text.remove_prefix(2);
    }
}

std::chrono::microseconds parseTime(std::string_view word) {
    const bool isBracketed = word.size() >= 2 && word.front() == '(' && word.back() == ')';
    const std::string_view text = isBracketed ? word.substr(1, word.size() - 2) : std::string_view();
    const std::size_t point = std::min(text.find('.'), text.size());
    const std::string_view fraction = text.substr(std::min(point + 1, text.size()));
    // Unsigned, because a time has no sign.
    std::uint64_t seconds = 0;
    std::uint64_t microseconds = 0;
    if (point > mostSecondsDigits || fraction.size() != 6 ||
        !Text::parseNumber(text.substr(0, point), 10, seconds) || !Text::parseNumber(fraction, 10, microseconds))
        fail("the time " + Text::quoted(word) + " is not (seconds.microseconds) with 6 digits behind the point");
    return std::chrono::microseconds(static_cast<long long>(seconds) * microsecondsPerSecond +
                                     static_cast<long long>(microseconds));
}

void appendDecimal(long long number, std::size_t leastDigits, std::string& text) {
    const std::string digits = std::to_string(number);
    text.append(leastDigits - std::min(leastDigits, digits.size()), '0');
    text += digits;
}

// In capitals, as can-utils do.
void appendHexadecimal(std::uint32_t number, int digits, std::string& text) {
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        text += "0123456789ABCDEF"[number >> shift & 0xFU];
}

} // namespace

KXCANMessage parseCANFrame(std::string_view text) {
    const std::size_t sign = text.find('#');
    if (sign == std::string_view::npos)
        fail(Text::quoted(text) + " is no frame: there is no # between identifier and data");
    const std::string_view content = text.substr(sign + 1);
    if (!content.empty() && content.front() == '#')
        fail(Text::quoted(text) + " is a CAN FD frame; only frames of classic CAN are supported");
    KXCANMessage frame;
    frame.canId = parseIdentifier(text.substr(0, sign));
    if (!content.empty() && (content.front() == 'R' || content.front() == 'r'))
        parseRemote(content.substr(1), frame);
    else
        parseData(content, frame);
    return frame;
}

std::string formatCANFrame(const KXCANMessage& frame) {
    const bool isLong = (frame.canId & (extendedFlag | errorFlag)) != 0;
    std::string text;
    appendHexadecimal(frame.canId & (isLong ? extendedIdentifierBits | errorFlag : standardIdentifierBits),
                      isLong ? 8 : 3, text);
    text += '#';
    if ((frame.canId & remoteFlag) != 0)
        return text + (frame.canLength == 0 ? "R" : "R" + std::to_string(frame.canLength));
    for (std::size_t i = 0; i < std::min<std::size_t>(frame.canLength, longestData); ++i)
        appendHexadecimal(frame.canData[i], 2, text);
    return text;
}

CANLogLine parseCANLogLine(std::string_view text) {
    std::string_view rest = Text::trimmed(text);
    CANLogLine line;
    line.time = parseTime(Text::takeWord(rest));
    line.bus = Text::takeWord(rest);
    const std::string_view frame = Text::takeWord(rest);
    if (frame.empty())
        fail("the line ends early; it is to be (seconds.microseconds) interface frame");
    line.frame = parseCANFrame(frame);
    const std::string_view direction = Text::takeWord(rest);
    if (direction == "R" || direction == "T")
        line.direction = direction.front();
    else if (!direction.empty())
        fail("unexpected " + Text::quoted(direction) + " behind the frame");
    if (!rest.empty())
        fail("unexpected " + Text::quoted(rest) + " behind the frame");
    return line;
}

std::string formatCANLogLine(const CANLogLine& line) {
    const long long time = line.time.count();
    std::string text = "(";
    appendDecimal(time / microsecondsPerSecond, 10, text);
    text += '.';
    appendDecimal(time % microsecondsPerSecond, 6, text);
    text += ") " + line.bus + ' ' + formatCANFrame(line.frame);
    return line.direction == '\0' ? text : text + ' ' + line.direction;
}

bool isCANLogComment(std::string_view text) {
    const std::string_view content = Text::trimmed(text);
    return content.empty() || content.front() == '#';
}

} // namespace KX::CanBus

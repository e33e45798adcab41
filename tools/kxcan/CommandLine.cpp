#include "tools/kxcan/CommandLine.h"

#include "recording/format/CANLog.h"

#include <charconv>
#include <optional>

namespace Can {

namespace {

constexpr double slowestSpeed = 0.001;
constexpr double greatestSpeed = 1000;

double takeSpeed(Arguments::ArgumentReader& reader) {
    const std::string& text = reader.take("the number of --speed");
    double speed = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), speed, std::chars_format::fixed);
    // Also false for NaN.
    const bool isInRange = speed >= slowestSpeed && speed <= greatestSpeed;
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || !isInRange)
        reader.refuse("the speed is not a number from 0.001 to 1000");
    return speed;
}

std::optional<CommandLine> parseInformation(const std::string& text) {
    CommandLine result;
    if (text == "--help" || text == "-h")
        result.action = CommandLine::Action::ShowHelp;
    else if (text == "--version" || text == "-v")
        result.action = CommandLine::Action::ShowVersion;
    else
        return std::nullopt;
    return result;
}

CommandLine parseSend(Arguments::ArgumentReader& reader, CommandLine result) {
    result.action = CommandLine::Action::Send;
    result.bus = reader.take("the bus");
    if (Arguments::ArgumentReader::isOption(result.bus))
        reader.refuseUnknown("unknown option");
    do {
        const std::string& text = reader.take("the frame");
        try {
            result.frames.push_back(checkThatItCanBeSent(KX::CanBus::parseCANFrame(text)));
        } catch (const std::runtime_error& error) {
            reader.refuse(error.what());
        }
    } while (!reader.isAtEnd());
    return result;
}

CommandLine parsePlay(Arguments::ArgumentReader& reader, CommandLine result) {
    result.action = CommandLine::Action::Play;
    std::vector<std::string> names;
    std::optional<double> speed;
    while (!reader.isAtEnd() || names.size() < 2) {
        const std::string& text = reader.take(names.empty() ? "the bus" : "the file");
        if (text == "--fast" || text == "--speed") {
            if (speed)
                reader.refuse("the speed is given twice");
            speed = text == "--fast" ? 0 : takeSpeed(reader);
        } else if (Arguments::ArgumentReader::isOption(text)) {
            reader.refuseUnknown("unknown option");
        } else if (names.size() == 2) {
            reader.refuseUnknown("unexpected");
        } else {
            names.push_back(text);
        }
    }
    result.bus = names[0];
    result.file = names[1];
    result.speed = speed.value_or(1);
    return result;
}

} // namespace

CommandLine parseCommandLine(const std::vector<std::string>& arguments) {
    Arguments::ArgumentReader reader("kxcan", arguments);
    const std::string& command = reader.take("a command, send or play,");
    for (const std::string& text : arguments)
        if (const auto information = parseInformation(text))
            return *information;
    if (command == "send")
        return parseSend(reader, {});
    if (command == "play")
        return parsePlay(reader, {});
    reader.refuseUnknown("unknown command");
}

const KX::KXCANMessage& checkThatItCanBeSent(const KX::KXCANMessage& frame) {
    if ((frame.canId & KX::CanBus::errorFlag) != 0)
        throw Arguments::BadInput("an error frame cannot be sent; only the driver of a bus makes them");
    return frame;
}

} // namespace Can

#include "tools/kxcan/CommandLine.h"

#include "recording/format/CANLog.h"
#include "tools/arguments/Grammar.h"
#include "tools/canbus/CANSender.h"

namespace Can {

namespace {

constexpr double slowestSpeed = 0.001;
constexpr double greatestSpeed = 1000;

const char* const description =
    R"(kxcan puts frames onto a CAN bus.

Usage:
  kxcan send BUS FRAME...
  kxcan play [--fast | --speed N] BUS FILE

BUS is an interface of the system (can0, vcan0) or unix:PATH, the virtual bus of
a program that reads at PATH, as KX_CAN_BUS_0=unix:PATH makes the library do.

FRAME is IDENTIFIER#DATA in hexadecimal: three digits are a standard identifier,
eight an extended one; 0 to 8 bytes of data, dots may stand between them. #R,
#R0 to #R8 make a remote frame.

FILE is a log of frames, one a line, as candump -l of can-utils writes it; - is
standard input. Frames of all interfaces in it go to BUS. Empty lines and lines
that begin with # say nothing.
)";

const char* const examples =
    R"(Examples:
  kxcan send unix:/run/user/1000/keypad 18FF0001#0100000000000000
  kxcan send can0 123#11.22.33 7FF#R4
  kxcan play --speed 10 vcan0 session.log
  candump -L can0 | kxcan play unix:/run/user/1000/keypad -

Nothing is sent before all arguments, or the whole FILE, were found to be good;
standard input is checked line by line.

Exit status: 0 all frames are sent; 1 the bus failed, or the output could not be
written; 2 the arguments or the log are bad, or no frame is in the log.
)";

class Parser {
public:
    Parser() : grammar({"kxcan", KXCAN_VERSION, description, examples}) {}

    CommandLine parse(const std::vector<std::string>& arguments) {
        const std::string command = arguments.empty() ? std::string() : arguments.front();
        if (command == "send")
            addSend();
        else
            addPlay(); // also for the help
        const bool isCommand = command == "send" || command == "play";
        const std::size_t read = isCommand ? 1 : 0;
        if (const auto text = information(arguments, read)) {
            result.action = CommandLine::Action::Inform;
            result.text = *text;
        }
        return result;
    }

private:
    std::optional<std::string> information(const std::vector<std::string>& arguments, std::size_t read) {
        const std::vector<std::string> others(arguments.begin() + static_cast<std::ptrdiff_t>(read),
                                              arguments.end());
        if (const auto text = grammar.information(others))
            return text;
        if (arguments.empty())
            throw Arguments::BadInput(Arguments::missing("kxcan", "a command, send or play,"));
        if (read == 0)
            throw Arguments::BadInput("kxcan: argument 1: unknown command " +
                                      Arguments::quoted(arguments.front()));
        return grammar.read(others, 2);
    }

    void addBus() {
        grammar.addOperand(
            "the bus",
            [this](const std::string& name) {
                if (name.empty())
                    throw Arguments::BadInput("the name of the bus is empty");
                if (const auto problem = KX::CanBus::problemOfBusName(name))
                    throw Arguments::BadInput(Arguments::quoted(name) + ": " + *problem);
                result.bus = name;
            });
    }

    void addSend() {
        result.action = CommandLine::Action::Send;
        addBus();
        grammar.addOperand(
            "the frame", [this](const std::string& text) { takeFrame(text); },
            Arguments::Grammar::Times::OnceOrMore);
    }

    void takeFrame(const std::string& text) {
        try {
            result.frames.push_back(checkThatItCanBeSent(KX::CanBus::parseCANFrame(text)));
        } catch (const std::runtime_error& error) {
            throw Arguments::BadInput(error.what());
        }
    }

    void addPlay() {
        result.action = CommandLine::Action::Play;
        grammar.addSwitch({"--fast", "", "send as fast as the receiver takes the frames"},
                          [this] { result.speed = 0; });
        grammar.addValue({"--speed", "N", "play N times as fast as it was recorded (0.001 to 1000)"}, "number",
                         [this](const std::string& text) {
                             const auto speed = Arguments::parseDecimal(text, slowestSpeed, greatestSpeed);
                             if (!speed)
                                 throw Arguments::BadInput("--speed: " + Arguments::quoted(text) +
                                                           " is not a number from 0.001 to 1000");
                             result.speed = *speed;
                         });
        grammar.exclude("--fast", "--speed");
        addBus();
        grammar.addOperand("the file", [this](const std::string& name) {
            if (name.empty())
                throw Arguments::BadInput("the name of the file is empty");
            result.file = name;
        });
    }

    CommandLine result;
    Arguments::Grammar grammar;
};

} // namespace

CommandLine parseCommandLine(const std::vector<std::string>& arguments) {
    return Parser().parse(arguments);
}

const KX::KXCANMessage& checkThatItCanBeSent(const KX::KXCANMessage& frame) {
    if ((frame.canId & KX::CanBus::errorFlag) != 0)
        throw Arguments::BadInput("an error frame cannot be sent; only the driver of a bus makes them");
    return frame;
}

} // namespace Can

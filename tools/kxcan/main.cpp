#include "tools/canbus/CANSender.h"
#include "tools/kxcan/CommandLine.h"
#include "tools/kxcan/Playback.h"

#include <cstdio>
#include <exception>

namespace Can {

namespace {

const char* const helpText = R"(kxcan puts frames onto a CAN bus.

Usage:
  kxcan send BUS FRAME...
  kxcan play [--fast | --speed N] BUS FILE

BUS is an interface of the system (can0, vcan0) or unix:PATH, the virtual bus of a
program that reads at PATH, as KX_CAN_BUS_0=unix:PATH makes the library do.

FRAME is IDENTIFIER#DATA in hexadecimal: three digits are a standard identifier, eight
an extended one; 0 to 8 bytes of data, dots may stand between them. #R, #R0 to #R8 make
a remote frame.

FILE is a log of frames, one a line, as candump -l of can-utils writes it; - is standard
input. Frames of all interfaces in it go to BUS. Empty lines and lines that begin with #
say nothing.

Options:
  --fast         send as fast as the receiver takes the frames
  --speed N      play N times as fast as it was recorded (0.001 to 1000)
  -h, --help     show this help
  -v, --version  show the version

Examples:
  kxcan send unix:/run/user/1000/keypad 18FF0001#0100000000000000 18FF0001#0000000000000000
  kxcan send can0 123#11.22.33 7FF#R4
  kxcan play --speed 10 vcan0 session.log
  candump -L can0 | kxcan play unix:/run/user/1000/keypad -

Nothing is sent before all arguments, or the whole FILE, were found to be good; standard
input is checked line by line.

Exit status: 0 all frames are sent; 1 the bus failed; 2 the arguments or the log are bad.
)";

void run(const std::vector<std::string>& words) {
    const CommandLine arguments = parseCommandLine(words);
    switch (arguments.action) {
    case CommandLine::Action::ShowHelp: std::fputs(helpText, stdout); break;
    case CommandLine::Action::ShowVersion: std::puts("kxcan " KXCAN_VERSION); break;
    case CommandLine::Action::Send: {
        KX::CanBus::CANSender sender(arguments.bus);
        for (const KX::KXCANMessage& frame : arguments.frames)
            sender.send(frame);
        break;
    }
    case CommandLine::Action::Play: Playback(arguments.file, arguments.speed).run(arguments.bus); break;
    }
}

} // namespace

} // namespace Can

int main(int argc, char** argv) {
    try {
        Can::run(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
        return 0;
    } catch (const Arguments::BadInput& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kxcan: %s\n", error.what());
        return 1;
    }
}

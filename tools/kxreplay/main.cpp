#include "tools/arguments/ArgumentReader.h"
#include "tools/kxreplay/CommandLine.h"
#include "tools/kxreplay/Program.h"

#include <cstdio>
#include <exception>

namespace Replay {

namespace {

const char* const helpText =
    R"(kxreplay plays a recorded operator session through the event layer and prints the classified events.

It takes no more time than the computer needs, and the same recording gives the same output on every machine.

Usage:
  kxreplay [OPTION...] FILE

FILE is a recording, as kxterminal --record writes it, or the log of a CAN bus, as candump -l of can-utils writes
it; - is standard input. Of a log, the keys and the knob of the keypad are played as a terminal gets them.

What is printed (the events, a line each, unless told otherwise):
  --summary          how many events of each type, and the input that was nearly classified otherwise
  --compare          two columns: as recorded, and with the other settings given
  --json             the same as JSON, an object a line
  --expect FILE      nothing but what differs from FILE, as diff -u writes it

Other settings, which hold from the beginning whatever the recording sets:
  --double-press MS  longest time between two presses of a double press
  --long-press MS    shortest time of a long press
  --user-factor N    scale of the knob's increments, in thousandths, from 1
  --low-pass N       how fast the knob's increments follow its speed, 1 to 1000

Also:
  --keypad FILE      layout of the keypad for the log of a CAN bus; else that which kxterminal draws
  --library-output   show what the event layer says, on standard error
  -h, --help         show this help
  -v, --version      show the version

Examples:
  kxreplay complaint.kxr                       what happened when
  kxreplay --summary complaint.kxr             was it close?
  kxreplay --compare --double-press 250 complaint.kxr
                                               would another limit have helped?
  kxreplay complaint.kxr > complaint.expected  keep it, and later:
  kxreplay --expect complaint.expected complaint.kxr
  kxreplay --keypad cabin.keypad candump-2024-05-17.log

Exit status: 0 played, and as expected; 1 not as expected, or the output could not be written; 2 the arguments or
a file are bad.
)";

int runUnflushed(const std::vector<std::string>& words) {
    const CommandLine arguments = parseCommandLine(words);
    switch (arguments.action) {
    case CommandLine::Action::ShowHelp: std::fputs(helpText, stdout); break;
    case CommandLine::Action::ShowVersion: std::puts("kxreplay " KXREPLAY_VERSION); break;
    case CommandLine::Action::Play: return run(arguments);
    }
    return played;
}

// Only a flush shows whether everything was written.
int runWith(const std::vector<std::string>& words) {
    const int status = runUnflushed(words);
    flushStandardOutput();
    return status;
}

int fail(int status, const char* line) {
    std::fprintf(stderr, "%s\n", line);
    return status;
}

} // namespace

} // namespace Replay

int main(int argc, char** argv) {
    try {
        return Replay::runWith(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
    } catch (const Arguments::BadInput& error) {
        return Replay::fail(Replay::badInput, error.what());
    } catch (const KX::Recording::BadFile& error) {
        return Replay::fail(Replay::badInput, error.what());
    } catch (const std::exception& error) {
        std::fputs("kxreplay: ", stderr);
        return Replay::fail(Replay::failed, error.what());
    }
}

#include "tools/arguments/ArgumentReader.h"
#include "tools/kxreplay/CommandLine.h"
#include "tools/kxreplay/HelpText.h"
#include "tools/kxreplay/Program.h"

#include <cstdio>
#include <exception>

namespace Replay {

namespace {

int runUnflushed(const std::vector<std::string>& words) {
    const CommandLine arguments = parseCommandLine(words);
    switch (arguments.action) {
    case CommandLine::Action::ShowHelp:
        std::fputs(helpText, stdout);
        break;
    case CommandLine::Action::ShowVersion:
        std::puts("kxreplay " KXREPLAY_VERSION);
        break;
    case CommandLine::Action::Play:
        return run(arguments);
    }
    return played;
}

// Only then it is known that all has been written.
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
    } catch (const Recording::BadFile& error) {
        return Replay::fail(Replay::badInput, error.what());
    } catch (const std::exception& error) {
        std::fputs("kxreplay: ", stderr);
        return Replay::fail(Replay::failed, error.what());
    }
}

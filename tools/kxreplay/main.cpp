#include "tools/arguments/ArgumentReader.h"
#include "tools/kxreplay/Arguments.h"
#include "tools/kxreplay/HelpText.h"
#include "tools/kxreplay/Program.h"

#include <cstdio>
#include <exception>

namespace {

int runUnflushed(const std::vector<std::string>& words) {
    const KXReplay::Arguments arguments = KXReplay::parseArguments(words);
    switch (arguments.action) {
    case KXReplay::Arguments::Action::ShowHelp:
        std::fputs(KXReplay::helpText, stdout);
        break;
    case KXReplay::Arguments::Action::ShowVersion:
        std::puts("kxreplay " KXREPLAY_VERSION);
        break;
    case KXReplay::Arguments::Action::Play:
        return KXReplay::run(arguments);
    }
    return KXReplay::played;
}

// Only then it is known that all has been written.
int runWith(const std::vector<std::string>& words) {
    const int status = runUnflushed(words);
    KXReplay::flushStandardOutput();
    return status;
}

int fail(int status, const char* line) {
    std::fprintf(stderr, "%s\n", line);
    return status;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return runWith(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
    } catch (const BadInput& error) {
        return fail(KXReplay::badInput, error.what());
    } catch (const Recording::BadFile& error) {
        return fail(KXReplay::badInput, error.what());
    } catch (const std::exception& error) {
        std::fputs("kxreplay: ", stderr);
        return fail(KXReplay::failed, error.what());
    }
}

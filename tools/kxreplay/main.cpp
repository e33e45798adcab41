#include "tools/arguments/BadInput.h"
#include "tools/kxreplay/CommandLine.h"
#include "tools/kxreplay/Program.h"
#include "tools/output/StandardOutput.h"

#include <cstdio>
#include <exception>

namespace Replay {

namespace {

int runWith(const std::vector<std::string>& words) {
    const CommandLine arguments = parseCommandLine(words);
    int status = playedStatus;
    if (arguments.action == CommandLine::Action::Inform)
        Output::write(arguments.text);
    else
        status = run(arguments);
    Output::flush();
    return status;
}

int fail(int status, const char* line) {
    std::fprintf(stderr, "%s\n", Output::asOneLine(line).c_str());
    return status;
}

} // namespace

} // namespace Replay

int main(int argc, char** argv) {
    Output::guardStandardDescriptors();
    try {
        return Replay::runWith(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
    } catch (const Arguments::BadInput& error) {
        return Replay::fail(Replay::badInputStatus, error.what());
    } catch (const KX::Recording::BadFile& error) {
        return Replay::fail(Replay::badInputStatus, error.what());
    } catch (const std::exception& error) {
        std::fputs("kxreplay: ", stderr);
        return Replay::fail(Replay::failedStatus, error.what());
    }
}

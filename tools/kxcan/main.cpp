#include "tools/canbus/CANSender.h"
#include "tools/kxcan/CommandLine.h"
#include "tools/kxcan/Playback.h"
#include "tools/output/StandardOutput.h"

#include <cstdio>
#include <exception>

namespace Can {

namespace {

void run(const std::vector<std::string>& words) {
    const CommandLine arguments = parseCommandLine(words);
    switch (arguments.action) {
    case CommandLine::Action::Inform: Output::write(arguments.text); break;
    case CommandLine::Action::Send: {
        KX::CanBus::CANSender sender(arguments.bus);
        for (const KX::KXCANMessage& frame : arguments.frames)
            sender.send(frame);
        break;
    }
    case CommandLine::Action::Play: Playback(arguments.file, arguments.speed).run(arguments.bus); break;
    }
    Output::flush();
}

} // namespace

} // namespace Can

int main(int argc, char** argv) {
    Output::guardStandardDescriptors();
    try {
        Can::run(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
        return 0;
    } catch (const Arguments::BadInput& error) {
        std::fprintf(stderr, "%s\n", Output::asOneLine(error.what()).c_str());
        return Arguments::badInputStatus;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kxcan: %s\n", Output::asOneLine(error.what()).c_str());
        return Arguments::failureStatus;
    }
}

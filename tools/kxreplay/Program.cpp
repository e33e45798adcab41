#include "tools/kxreplay/Program.h"

#include "recording/KXFunctionKeys.h"
#include "recording/KXKeyLayout.h"
#include "replay/LibraryOutput.h"
#include "tools/arguments/ArgumentReader.h"
#include "tools/kxreplay/Comparison.h"
#include "tools/kxreplay/Expectation.h"
#include "tools/kxreplay/OffscreenToolkit.h"
#include "tools/kxreplay/Player.h"
#include "tools/kxreplay/Summary.h"
#include "tools/progress/Progress.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <optional>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Replay {

namespace {

using SharedSession = std::shared_ptr<const KX::Recording::Session>;
using Write = std::function<void(const std::string&)>;

// Few enough to play at once on any machine.
constexpr std::size_t fewLines = 1000;

void tell(const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
}

KX::CANRemoteOptions readKeypad(const std::string& file) {
    try {
        return KX::KeyLayout::readFile(file, KX::KeyLayout::keyCodesOfTerminal());
    } catch (const std::runtime_error& error) {
        throw Arguments::BadInput(error.what());
    }
}

Player::Options recordedOptions(const CommandLine& arguments, const KX::Recording::Session& session) {
    Player::Options options;
    if (arguments.keypadFile.empty())
        return options;
    if (!session.isPlainLog)
        throw Arguments::BadInput(
            "kxreplay: --keypad is for the log of a CAN bus; a recording has its own layout");
    options.keypad = std::make_shared<const KX::CANRemoteOptions>(readKeypad(arguments.keypadFile));
    return options;
}

/// One run of the program: the session, what to do with it, and where the output goes.
class Run {
public:
    Run(const CommandLine& givenArguments, SharedSession givenSession, Write writeFunction)
        : arguments(givenArguments), session(std::move(givenSession)), write(std::move(writeFunction)),
          recorded(recordedOptions(arguments, *session)), changed(recorded) {
        changed.other = arguments.other;
    }

    void print() const {
        switch (arguments.output) {
        case CommandLine::Output::Events: printEvents(); break;
        case CommandLine::Output::Comparison: printComparison(); break;
        case CommandLine::Output::Summary: printSummary(); break;
        }
    }

private:
    void play(const Player::Options& options, const Player::Take& take) const {
        std::optional<Progress::Reporter> progress;
        if (session->entries.size() > fewLines && !showsByItself())
            progress.emplace("kxreplay", "lines played", session->entries.size());
        Player(session, options).play(take, [&progress] {
            if (progress)
                progress->countOne();
        });
    }

    // Events on a terminal already show the progress, and the counter would appear between them.
    bool showsByItself() const {
        return arguments.output == CommandLine::Output::Events && arguments.expectationFile.empty() &&
               isatty(STDOUT_FILENO) == 1;
    }

    void printEvents() const {
        play(
            changed, [this](const PlayedEvent& played) { write(formatEvent(played.event, arguments.format)); });
    }

    void printComparison() const {
        const Comparison comparison(collect(recorded), collect(changed));
        write(isText() ? comparison.toText(arguments.otherText) : comparison.toJSON());
    }

    std::vector<PlayedEvent> collect(const Player::Options& options) const {
        std::vector<PlayedEvent> events;
        play(options, [&events](const PlayedEvent& event) { events.push_back(event); });
        return events;
    }

    void printSummary() const {
        Summary summary(*session);
        play(changed, [&summary](const PlayedEvent& played) { summary.take(played); });
        write(isText() ? summary.toText() : summary.toJSON());
    }

    bool isText() const { return arguments.format == Format::Text; }

    const CommandLine& arguments;
    const SharedSession session;
    const Write write;
    const Player::Options recorded;
    Player::Options changed;
};

[[noreturn]] void failToWrite() {
    throw std::runtime_error(std::string("standard output: ") + std::strerror(errno));
}

void writeToStandardOutput(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
        failToWrite();
}

std::string countLines(const std::string& text) {
    const auto lines = std::count(text.begin(), text.end(), '\n');
    return std::to_string(lines) + (lines == 1 ? " line" : " lines");
}

int compareWith(const Expectation& expectation, const std::string& printed) {
    if (expectation.isMetBy(printed)) {
        tell("kxreplay: " + countLines(printed) + " as expected");
        return played;
    }
    writeToStandardOutput(expectation.differenceFrom(printed));
    return failed;
}

int print(const CommandLine& arguments, const SharedSession& session) {
    if (arguments.expectationFile.empty()) {
        Run(arguments, session, &writeToStandardOutput).print();
        return played;
    }
    const Expectation expectation(arguments.expectationFile);
    std::string printed;
    Run(arguments, session, [&printed](const std::string& text) { printed += text; }).print();
    return compareWith(expectation, printed);
}

} // namespace

void flushStandardOutput() {
    if (std::fflush(stdout) != 0)
        failToWrite();
}

int run(const CommandLine& arguments) {
    const auto session =
        std::make_shared<const KX::Recording::Session>(KX::Recording::readFile(arguments.file, &tell));
    const std::string name = arguments.file == "-" ? "standard input" : arguments.file;
    checkDurations(arguments.other, *session, name);
    const KX::LibraryOutput library(arguments.showLibraryOutput ? KX::LibraryOutput::Goes::ToStandardError
                                                                : KX::LibraryOutput::Goes::Nowhere);
    std::optional<OffscreenToolkit> toolkit;
    if (needsToolkit(*session))
        toolkit.emplace();
    if (session->entries.empty())
        tell(name + ": there is nothing to play in it");
    return print(arguments, session);
}

} // namespace Replay

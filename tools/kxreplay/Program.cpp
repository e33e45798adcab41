#include "tools/kxreplay/Program.h"

#include "recording/KXPassSchedule.h"
#include "replay/LibraryOutput.h"
#include "tools/arguments/BadInput.h"
#include "tools/kxreplay/Keypad.h"
#include "tools/kxreplay/OffscreenToolkit.h"
#include "tools/kxreplay/Player.h"
#include "tools/kxreplay/Summary.h"
#include "tools/kxreplay/comparison/Comparison.h"
#include "tools/kxreplay/comparison/Expectation.h"
#include "tools/kxreplay/follow/Follow.h"
#include "tools/kxreplay/plot/TimeLinePicture.h"
#include "tools/kxreplay/statistics/Statistics.h"
#include "tools/output/StandardOutput.h"
#include "tools/progress/Progress.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <optional>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Replay {

namespace {

using Write = std::function<void(const std::string&)>;

// Few enough to play at once on any machine.
constexpr std::size_t fewLines = 1000;

void tell(const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
}

Player::Options recordedOptions(const CommandLine& arguments, const KX::Recording::SessionFacts& session) {
    Player::Options options;
    if (arguments.keypadFile.empty())
        return options;
    if (!session.isPlainLog)
        throw Arguments::BadInput(
            "kxreplay: --keypad is for the log of a CAN bus; a recording has its own layout");
    options.keypad = readKeypad(arguments.keypadFile);
    return options;
}

/// One run of the program: the session, what to do with it, and where the output goes.
class Run {
public:
    Run(const CommandLine& givenArguments, Playable givenSession, Write writeFunction)
        : arguments(givenArguments), session(std::move(givenSession)), write(std::move(writeFunction)),
          recorded(recordedOptions(arguments, session.facts)) {
        recorded.beforeFrames = [this] { makeToolkit(); };
        changed = recorded;
        changed.other = arguments.other;
    }

    Run(const Run&) = delete; // its options point to it
    Run& operator=(const Run&) = delete;

    void print() const {
        switch (arguments.output) {
        case CommandLine::Output::Events: printEvents(); break;
        case CommandLine::Output::Comparison: printComparison(); break;
        case CommandLine::Output::Summary: printSummary(); break;
        case CommandLine::Output::TimeLine: drawTimeLine(); break;
        case CommandLine::Output::Statistics:
        case CommandLine::Output::Merge: break; // no run of one recording
        }
    }

private:
    // Qt takes milliseconds to start, and most recordings need none of it.
    void makeToolkit() {
        if (!toolkit)
            toolkit.emplace();
    }

    void play(const Player::Options& options, const Player::Take& take) const {
        std::optional<Progress::Reporter> progress;
        if (session.facts.entries > fewLines && !showsByItself())
            progress.emplace("kxreplay", "lines played", session.facts.entries);
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
        Summary summary(session.facts);
        play(changed, [&summary](const PlayedEvent& played) { summary.take(played); });
        write(isText() ? summary.toText() : summary.toJSON());
    }

    Arguments::SessionPart partOf(const KX::Recording::SessionFacts& facts) const {
        const std::optional<Arguments::SessionTime>& from = arguments.from;
        const std::optional<Arguments::SessionTime>& to = arguments.to;
        try {
            const Arguments::SessionPart part =
                Arguments::SessionPart::choose(from, to, facts.firstMs, KX::KXPassSchedule(facts).endMs());
            if (part.fromMs == part.toMs && (from || to))
                throw Arguments::BadInput(from && to ? "--from and --to are the same moment"
                                          : from     ? "--from: nothing is left of the recording behind it"
                                                     : "--to: nothing of the recording is before it");
            return part;
        } catch (const Arguments::BadInput& error) {
            throw Arguments::BadInput(std::string("kxreplay: ") + error.what());
        }
    }

    void drawTimeLine() const {
        const KX::Recording::SessionFacts& facts = session.facts;
        const auto [fromMs, toMs] = partOf(facts);
        Picture::checkThatItCanBeWritten(arguments.plotFile);
        const auto firstTick = static_cast<unsigned int>(facts.firstMs);
        TimeLine line(firstTick, static_cast<std::int64_t>(fromMs - facts.firstMs),
                      static_cast<std::int64_t>(toMs - facts.firstMs));
        play(changed, [&line](const PlayedEvent& played) { line.take(played); });
        const std::string title = arguments.file == "-" ? "standard input" : arguments.file;
        Picture::draw(arguments.plotFile, TimeLinePicture(line, title.substr(title.rfind('/') + 1), firstTick));
    }

    bool isText() const { return arguments.format == Format::Text; }

    const CommandLine& arguments;
    const Playable session;
    const Write write;
    Player::Options recorded;
    Player::Options changed;
    std::optional<OffscreenToolkit> toolkit;
};

std::string countLines(const std::string& text) {
    const auto lines = std::count(text.begin(), text.end(), '\n');
    return std::to_string(lines) + (lines == 1 ? " line" : " lines");
}

int compareWith(const Expectation& expectation, const std::string& printed) {
    if (expectation.isMetBy(printed)) {
        tell("kxreplay: " + countLines(printed) + " as expected");
        return playedStatus;
    }
    Output::write(expectation.differenceFrom(printed));
    return failedStatus;
}

int print(const CommandLine& arguments, const Playable& session) {
    if (arguments.expectationFile.empty()) {
        Run(arguments, session, &Output::write).print();
        return playedStatus;
    }
    const Expectation expectation(arguments.expectationFile);
    std::string printed;
    Run(arguments, session, [&printed](const std::string& text) { printed += text; }).print();
    return compareWith(expectation, printed);
}

Player::Options optionsOfFollowing(const CommandLine& arguments) {
    Player::Options options;
    options.other = arguments.other;
    if (!arguments.keypadFile.empty())
        options.keypad = readKeypad(arguments.keypadFile);
    return options;
}

int runFollowing(const CommandLine& arguments) {
    std::optional<OffscreenToolkit> toolkit;
    Player::Options options = optionsOfFollowing(arguments);
    options.beforeFrames = [&toolkit] {
        if (!toolkit)
            toolkit.emplace();
    };
    const int signal = follow(
        arguments.file, options, &tell,
        [&arguments](const PlayedEvent& played) { Output::write(formatEvent(played.event, arguments.format)); },
        &Output::flush);
    return signal == 0 ? playedStatus : signalStatus + signal;
}

} // namespace

int run(const CommandLine& arguments) {
    if (arguments.output == CommandLine::Output::Statistics || arguments.output == CommandLine::Output::Merge)
        return runStatistics(arguments);
    const KX::LibraryOutput library(arguments.showLibraryOutput ? KX::LibraryOutput::Goes::ToStandardError
                                                                : KX::LibraryOutput::Goes::Nowhere);
    if (arguments.follows)
        return runFollowing(arguments);
    const Playable session = playableOf(arguments.file, &tell);
    const std::string name = arguments.file == "-" ? "standard input" : arguments.file;
    // A recording that was lost must not pass as a test.
    if (session.facts.entries == 0)
        throw Arguments::BadInput(name + ": there is nothing to play in it");
    checkDurations(arguments.other, session, name);
    return print(arguments, session);
}

} // namespace Replay

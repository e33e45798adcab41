#include "tools/kxreplay/CommandLine.h"

#include "recording/KXSettingTable.h"
#include "recording/format/Text.h"
#include "tools/arguments/BadInput.h"
#include "tools/arguments/Grammar.h"
#include "tools/kxreplay/plot/Picture.h"

#include <algorithm>
#include <string_view>

namespace Replay {

namespace {

const char* const description =
    R"(kxreplay plays a recorded operator session through the event layer and prints
the classified events. It takes no more time than the computer needs, and the
same recording gives the same output on every machine.

Usage:
  kxreplay [OPTION...] FILE
  kxreplay --statistics [OPTION...] FILE...
  kxreplay --merge [OPTION...] FILE...

FILE is a recording of kxterminal --record, or the log of a CAN bus that
candump -l of can-utils writes; - is standard input. The log's keys and knob of
the keypad are played as a terminal gets them.
)";

const char* const examples =
    R"(Examples:
  kxreplay complaint.kxr                       what happened when
  kxreplay --summary complaint.kxr             was it close?
  kxreplay --compare --double-press 250 complaint.kxr
                                               would another limit have helped?
  kxreplay complaint.kxr > complaint.expected  keep it, and later:
  kxreplay --expect complaint.expected complaint.kxr
  kxreplay --keypad cabin.keypad candump-2024-05-17.log
  ssh terminal tail -n +1 -f session.kxr | kxreplay --follow -
  kxreplay --plot complaint.svg --from 12.5s --to 14s complaint.kxr
  kxreplay --statistics --grid double-press=200..400:25 fleet/*.kxr
  find fleet -name '*.kxr' | kxreplay --statistics --json --files-from - >a.json
  kxreplay --merge a.json b.json               the sum of two machines' runs

Exit status: 0 played, and as expected; 1 not as expected, or the output could
not be written, or a recording of --statistics was left out; 2 the arguments or
a file are bad, or nothing is in the file, or no recording could be played;
130 or 143 interrupted while it followed or counted.
)";

constexpr std::uint32_t mostJobs = 1024;

class Parser {
public:
    Parser() : grammar({"kxreplay", KXREPLAY_VERSION, description, examples}) {
        addOutputs();
        addPicture();
        addStatistics();
        addSettings();
        addOthers();
        excludeOutputs();
        grammar.addOperand(
            "the recording", [this](const std::string& name) { takeFile(name); },
            Arguments::Grammar::Times::AnyNumber);
    }

    CommandLine parse(const std::vector<std::string>& words) {
        if (const auto text = grammar.read(words)) {
            result.action = CommandLine::Action::Inform;
            result.text = *text;
        } else {
            checkThatTheyGoTogether();
        }
        return result;
    }

private:
    using Output = CommandLine::Output;

    // The options are known by now.
    void takeFile(const std::string& name) {
        const bool takesMany = result.output == Output::Statistics || result.output == Output::Merge;
        if (!result.files.empty() && !takesMany)
            throw Arguments::BadInput("unexpected " + KX::Text::quoted(name));
        if (name.empty())
            throw Arguments::BadInput("the name of the recording is empty");
        if (result.files.empty())
            result.file = name;
        result.files.push_back(name);
    }

    void addOutputs() {
        grammar.beginGroup("What is printed (the events, a line each, unless told otherwise)");
        grammar.addSwitch(
            {"--summary", "", "how many events of each type, and the input that was nearly classified otherwise"},
            [this] { result.output = Output::Summary; });
        grammar.addSwitch({"--compare", "", "two columns: as recorded, and with the other settings given"},
                          [this] { result.output = Output::Comparison; });
        grammar.exclude("--summary", "--compare");
        grammar.addSwitch({"--json", "", "the same as JSON, an object a line"},
                          [this] { result.format = Format::JSON; });
        grammar.addName(
            {"--expect", "FILE", "nothing but what differs from FILE, as diff -u writes it; - is standard input"},
            "file", result.expectationFile);
        grammar.addSwitch({"--follow", "", "the events of a recording while it is written, or of a pipe"},
                          result.follows);
    }

    void addPicture() {
        grammar.beginGroup("As a picture");
        grammar.addName({"--plot", "FILE", "draw the time line or the statistics into FILE.svg, .png or .pdf"},
                        "picture", [this](const std::string& name) {
                            Picture::checkName(name);
                            result.plotFile = name;
                        });
        addTime("--from", "where the time line begins: a tick (8933702), or seconds since the beginning (12.5s)",
                result.from);
        addTime("--to", "where it ends, likewise", result.to);
    }

    void addTime(const char* option, const char* help, std::optional<Arguments::SessionTime>& target) {
        grammar.addValue(
            {option, "TIME", help}, "time",
            [&target, option](const std::string& text) {
                try {
                    target = Arguments::SessionTime::parse(text);
                } catch (const Arguments::BadInput& error) {
                    throw Arguments::BadInput(std::string(option) + ": " + error.what());
                }
            });
    }

    void addStatistics() {
        grammar.beginGroup("Many recordings");
        grammar.addSwitch(
            {"--statistics", "", "count gestures, their times, and how near they are to the limits"},
            [this] { result.output = Output::Statistics; });
        grammar.addValue(
            {"--grid", "GRID",
             "also what other limits would give: double-press=200..400:25, long-press=2500, or several "
             "with commas between"},
            "limits", [this](const std::string& text) { takeGrids(text); });
        grammar.addNumber({"--jobs", "N", "how many processes play; else as many as there are cores"}, 1, mostJobs,
                          [this](std::uint32_t number) { result.jobs = number; });
        grammar.addName({"--files-from", "FILE", "has the names of recordings, one a line; - is standard input"},
                        "file", result.listFile);
        grammar.addSwitch({"--merge", "", "add up what --statistics --json has printed"},
                          [this] { result.output = Output::Merge; });
    }

    void takeGrids(const std::string& text) {
        std::string_view rest = text;
        for (bool isMore = true; isMore;) {
            isMore = rest.find(',') != std::string_view::npos;
            result.grids.push_back(Grid::parse(std::string(KX::Text::takeUntil(rest, ','))));
        }
    }

    void excludeOutputs() {
        for (const char* const option :
             {"--summary", "--compare", "--expect", "--follow", "--from", "--to", "--merge"})
            grammar.exclude(option, "--statistics");
        for (const char* const option :
             {"--summary", "--compare", "--expect", "--follow", "--from", "--to", "--grid", "--jobs", "--keypad",
              "--double-press", "--long-press", "--user-factor", "--low-pass", "--library-output"})
            grammar.exclude(option, "--merge");
        for (const char* const option : {"--summary", "--compare", "--expect", "--json", "--follow"})
            grammar.exclude(option, "--plot");
        for (const char* const option : {"--summary", "--compare", "--expect"})
            grammar.exclude(option, "--follow");
    }

    void addSettings() {
        grammar.beginGroup("Other settings, which hold from the beginning whatever the recording sets");
        addSetting("double-press", "MS", "longest time between two presses of a double press");
        addSetting("long-press", "MS", "shortest time of a long press");
        addSetting("user-factor", "N", "scale of the knob's increments, in thousandths, from 1");
        addSetting("low-pass", "N", "how fast the knob's increments follow its speed, 1 to 1000");
    }

    void addSetting(const std::string& word, const char* placeholder, const char* help) {
        const KX::KXSettingRow& row =
            *std::find_if(KX::settingTable.begin(), KX::settingTable.end(),
                          [&word](const KX::KXSettingRow& candidate) { return candidate.word == word; });
        const std::string option = "--" + word;
        grammar.addNumber(
            {option, placeholder, help}, static_cast<std::uint32_t>(row.range.least),
            static_cast<std::uint32_t>(row.range.greatest), [this, &row, option](std::uint32_t number) {
                result.other.values[row.name] = number;
                result.otherText += (result.otherText.empty() ? "" : " ") + option + " " + std::to_string(number);
            });
    }

    void addOthers() {
        grammar.beginGroup("Also");
        grammar.addName({"--keypad", "FILE",
                         "layout of the keypad for the log of a CAN bus; else that which kxterminal draws"},
                        "file", result.keypadFile);
        grammar.addSwitch({"--library-output", "", "show what the event layer says, on standard error"},
                          result.showLibraryOutput);
    }

    void checkThatTheyGoTogether() {
        const bool takesMany = result.output == Output::Statistics || result.output == Output::Merge;
        if (result.files.empty() && result.listFile.empty())
            throw Arguments::BadInput(Arguments::missing("kxreplay", result.output == Output::Merge
                                                                         ? "the output of --statistics --json"
                                                                         : "the recording"));
        if (!takesMany && !result.listFile.empty())
            needs("--files-from", "--statistics or --merge");
        if (result.output != Output::Statistics && !result.grids.empty())
            needs("--grid", "--statistics");
        if (result.output != Output::Statistics && result.jobs != 0)
            needs("--jobs", "--statistics");
        if (result.plotFile.empty() && (result.from || result.to))
            needs(result.from ? "--from" : "--to", "--plot");
        if (!result.plotFile.empty() && !takesMany)
            result.output = Output::TimeLine;
        if (result.output == Output::Comparison && result.other.values.empty())
            throw Arguments::BadInput("kxreplay: --compare shows what other settings change: give --double-press, "
                                      "--long-press, --user-factor or --low-pass too");
        if (result.expectationFile == "-" && result.file == "-")
            throw Arguments::BadInput("kxreplay: --expect and the recording cannot both be standard input");
    }

    [[noreturn]] static void needs(const std::string& option, const std::string& other) {
        throw Arguments::BadInput("kxreplay: " + option + " goes only together with " + other);
    }

    CommandLine result;
    Arguments::Grammar grammar;
};

} // namespace

CommandLine parseCommandLine(const std::vector<std::string>& words) {
    return Parser().parse(words);
}

} // namespace Replay

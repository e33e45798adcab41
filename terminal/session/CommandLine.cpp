#include "terminal/session/CommandLine.h"

#include "tools/arguments/Grammar.h"

#include <limits>
#include <set>
#include <vector>

namespace Terminal {

namespace {

constexpr double slowestReplay = 0.01;
constexpr double fastestReplay = 1000;
constexpr std::uint32_t minutesOfADay = 1440;
constexpr std::uint32_t mostSavedFiles = 9999;
constexpr std::uint32_t longestMs = std::numeric_limits<int>::max();

const char* const description =
    R"(kxterminal is an operator terminal in a window. It feeds keys, mouse, touch and
wheel to the event layer and shows the classified events.

Usage:
  kxterminal [--record FILE] [--print] [OPTION...]
  kxterminal --replay FILE [--speed N] [--from TIME] [--to TIME] [OPTION...]

QT_QPA_PLATFORM chooses where it draws: xcb, wayland, linuxfb, offscreen.
)";

const char* const examples =
    R"(Examples:
  kxterminal --print
  kxterminal --record complaint.kxr
  kxterminal --keep-last 10 --save-to /var/lib/complaints
  kxterminal --replay complaint.kxr --speed 4
  kxterminal --replay complaint.kxr --from 12.5s --to 8933702
  kxterminal --can-bus can0 --keypad keypad.txt
  QT_QPA_PLATFORM=offscreen kxterminal --replay complaint.kxr --speed 100 \
      --exit-at-end --print --screenshot complaint.png

Exit status: 0 the terminal was closed; 1 it failed underway, or a recording or
the output could not be written to its end; 2 the arguments, the bus or a file
are bad.
)";

class Parser {
public:
    Parser()
        : grammar({"kxterminal", KXTERMINAL_VERSION, description, examples},
                  Arguments::Grammar::Numbers::AreNotTold) {
        addRecording();
        addReplay();
        addWindow();
        addKeypad();
    }

    CommandLine parse(const std::vector<std::string>& words) {
        if (const auto text = grammar.read(words)) {
            settings.outcome = CommandLine::Outcome::Inform;
            settings.text = QString::fromLocal8Bit(text->c_str());
        } else {
            checkThatTheyGoTogether();
        }
        return settings;
    }

private:
    using Text = std::string;

    void addName(const char* name, const char* placeholder, const char* what, const char* help, QString& target) {
        grammar.addName(
            {name, placeholder, help}, what,
            [this, name, &target](const Text& text) {
                given.insert(name);
                target = QString::fromLocal8Bit(text.c_str());
            });
    }

    void addCount(const char* name, const char* placeholder, const char* help, std::uint32_t most, int& target) {
        grammar.addNumber(
            {name, placeholder, help}, 1, most,
            [this, name, &target](std::uint32_t number) {
                given.insert(name);
                target = static_cast<int>(number);
            });
    }

    void addSwitch(const char* name, const char* help, bool& target) {
        grammar.addSwitch(
            {name, "", help},
            [this, name, &target] {
                given.insert(name);
                target = true;
            });
    }

    void addRecording() {
        grammar.beginGroup("Recording");
        addName("--record", "FILE", "file",
                "write every input with its tick into FILE, which must not hold anything yet; kxreplay plays it",
                settings.recordFile);
        addCount("--keep-last", "MINUTES",
                 "keep the input of the last MINUTES (1 to 1440) in memory; Ctrl+S or the signal SIGUSR1 saves it "
                 "as a recording",
                 minutesOfADay, settings.keptMinutes);
        addName("--save-to", "FOLDER", "folder",
                "where saved recordings go: into FOLDER, else the current one, or into this one new file, whose "
                "name ends in .kxr",
                settings.saveTo);
        addCount("--save-most", "COUNT", "keep at most COUNT saved files (1 to 9999; else 20); the oldest go",
                 mostSavedFiles, settings.mostSaved);
    }

    void addReplay() {
        grammar.beginGroup("Replay");
        addName("--replay", "FILE", "file",
                "play the recording in FILE instead of taking the operator's input; - is standard input",
                settings.replayFile);
        grammar.addValue({"--speed", "N", "replay N times as fast as it was recorded (0.01 to 1000)"}, "number",
                         [this](const Text& text) { takeSpeed(text); });
        addTime("--from",
                "begin at TIME: a tick as events show it (8933702), or seconds from the beginning (12.5s)",
                settings.from);
        addTime("--to", "end at TIME", settings.to);
        addSwitch("--exit-at-end", "end when the replay has ended", settings.exitAtEnd);
    }

    void addTime(const char* name, const char* help, std::optional<Arguments::SessionTime>& target) {
        grammar.addValue(
            {name, "TIME", help}, "time",
            [this, name, &target](const Text& text) {
                given.insert(name);
                try {
                    target = Arguments::SessionTime::parse(text);
                } catch (const Arguments::BadInput& error) {
                    throw Arguments::BadInput(Text(name) + ": " + error.what());
                }
            });
    }

    void addWindow() {
        grammar.beginGroup("Window and output");
        addSwitch("--full-screen", "fill the screen, without a frame", settings.fullScreen);
        addSwitch("--print", "print each classified event as a line on standard output", settings.print);
        addName("--screenshot", "FILE", "file", "write a picture of the window, as PNG, to FILE when it ends",
                settings.screenshotFile);
        grammar.addValue({"--exit-after", "MS", "end after MS milliseconds"}, "number",
                         [this](const Text& text) { takeMs(text); });
        addSwitch("--demo", "play a short sequence of operator input on the window, then end", settings.demo);
    }

    void addKeypad() {
        grammar.beginGroup("Keypad");
        grammar.addName({"--can-bus", "BUS",
                         "bus of the keypad: an interface (can0) or a virtual bus (unix:PATH); else KX_CAN_BUS_0, "
                         "else a virtual bus of its own"},
                        "bus",
                        [this](const Text& text) { settings.canBus = QString::fromLocal8Bit(text.c_str()); });
        addName(
            "--keypad", "FILE", "file",
            "read the layout of the keypad from FILE: lines such as 'key 1 code 0 byte 0 bit 0 id 18FF0001' and "
            "'encoder id 18FF0002 byte 0 little mask FFFF up 4 down 5'",
            settings.keypadFile);
    }

    void takeSpeed(const Text& text) {
        given.insert("--speed");
        const auto speed = Arguments::parseDecimal(text, slowestReplay, fastestReplay);
        if (!speed)
            throw Arguments::BadInput("--speed: " + Arguments::quoted(text) +
                                      " is not a number from 0.01 to 1000");
        settings.speed = *speed;
    }

    void takeMs(const Text& text) {
        const auto ms = Arguments::parseWhole(text, 0, longestMs);
        if (!ms)
            throw Arguments::BadInput("--exit-after: " + Arguments::quoted(text) +
                                      " is not a number of milliseconds (0 to 2147483647)");
        settings.exitAfterMs = static_cast<int>(*ms);
    }

    void checkThatTheyGoTogether() const {
        for (const char* const input : {"--record", "--keep-last", "--demo", "--keypad"})
            if (isGiven("--replay") && isGiven(input))
                refuse("--replay takes the place of the operator: it does not go together with " + Text(input));
        for (const char* const ofReplay : {"--speed", "--from", "--to", "--exit-at-end"})
            if (!isGiven("--replay") && isGiven(ofReplay))
                refuse(Text(ofReplay) + " is for --replay only");
        for (const char* const ofSaving : {"--save-to", "--save-most"})
            if (!isGiven("--keep-last") && isGiven(ofSaving))
                refuse(Text(ofSaving) + " is for --keep-last only");
    }

    bool isGiven(const char* name) const { return given.count(name) != 0; }

    [[noreturn]] static void refuse(const Text& reason) { throw Arguments::BadInput("kxterminal: " + reason); }

    CommandLine settings;
    std::set<Text> given; // since some options need others
    Arguments::Grammar grammar;
};

} // namespace

CommandLine CommandLine::parse(const QStringList& arguments) {
    std::vector<std::string> words;
    for (int i = 1; i < arguments.size(); ++i)
        words.push_back(arguments[i].toLocal8Bit().toStdString());
    try {
        return Parser().parse(words);
    } catch (const Arguments::BadInput& error) {
        CommandLine refused;
        refused.outcome = Outcome::Refuse;
        refused.text = QString::fromLocal8Bit(error.what());
        return refused;
    }
}

} // namespace Terminal

#include "tools/kxreplay/CommandLine.h"

#include "recording/Text.h"
#include "tools/arguments/ArgumentReader.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace Replay {

namespace {

constexpr int leastFactor = 1;
constexpr int greatestLowPass = 1000;

template<typename Number>
Number takeNumber(Arguments::ArgumentReader& reader, const std::string& option, Number least, Number greatest) {
    const std::string& text = reader.take("the number of " + option);
    Number number{};
    if (!KX::Text::parseNumber(text, 10, number) || number < least || number > greatest) {
        reader.refuse(option + ": " + KX::Text::quoted(text) + " is not a number from " + std::to_string(least) +
                      " to " + std::to_string(greatest));
    }
    return number;
}

class Parser {
public:
    explicit Parser(const std::vector<std::string>& words) : reader("kxreplay", words) {}

    CommandLine parse() {
        while (!reader.isAtEnd()) {
            const std::string word = reader.take("an argument");
            if (Arguments::ArgumentReader::isOption(word))
                takeOption(word);
            else
                takeFile(word);
        }
        if (result.file.empty())
            reader.take("the recording");
        checkThatTheyGoTogether();
        return result;
    }

private:
    void takeOption(const std::string& option) {
        if (std::find(seen.begin(), seen.end(), option) != seen.end())
            reader.refuse(option + " is given twice");
        seen.push_back(option);
        if (!takeSwitch(option) && !takeFileOption(option) && !takeSetting(option))
            reader.refuseUnknown("unknown option");
    }

    bool takeSwitch(const std::string& option) {
        if (option == "--json")
            result.format = Format::JSON;
        else if (option == "--summary")
            takeOutput(CommandLine::Output::Summary);
        else if (option == "--compare")
            takeOutput(CommandLine::Output::Comparison);
        else if (option == "--library-output")
            result.showLibraryOutput = true;
        else
            return false;
        return true;
    }

    void takeOutput(CommandLine::Output output) {
        if (result.output != CommandLine::Output::Events)
            reader.refuse("--summary and --compare do not go together");
        result.output = output;
    }

    bool takeFileOption(const std::string& option) {
        if (option == "--expect")
            result.expectationFile = takeFileName(option);
        else if (option == "--keypad")
            result.keypadFile = takeFileName(option);
        else
            return false;
        return true;
    }

    std::string takeFileName(const std::string& option) {
        const std::string& name = reader.take("the file of " + option);
        if (name.empty())
            reader.refuse(option + ": the name of the file is empty");
        return name;
    }

    bool takeSetting(const std::string& option) {
        constexpr unsigned int longest = std::numeric_limits<unsigned int>::max();
        constexpr int greatest = std::numeric_limits<int>::max();
        if (option == "--double-press")
            note(option, result.other.doublePressMs = takeNumber(reader, option, 0U, longest));
        else if (option == "--long-press")
            note(option, result.other.longPressMs = takeNumber(reader, option, 0U, longest));
        else if (option == "--user-factor")
            note(option, result.other.userFactor = takeNumber(reader, option, leastFactor, greatest));
        else if (option == "--low-pass")
            note(option, result.other.lowPass = takeNumber(reader, option, leastFactor, greatestLowPass));
        else
            return false;
        return true;
    }

    template<typename Number>
    void note(const std::string& option, const std::optional<Number>& number) {
        result.otherText += (result.otherText.empty() ? "" : " ") + option + " " + std::to_string(*number);
    }

    void takeFile(const std::string& name) {
        if (!result.file.empty())
            reader.refuseUnknown("unexpected");
        if (name.empty())
            reader.refuse("the name of the recording is empty");
        result.file = name;
    }

    void checkThatTheyGoTogether() const {
        if (result.output == CommandLine::Output::Comparison && result.other.isEmpty())
            throw Arguments::BadInput("kxreplay: --compare shows what other settings change: give --double-press, "
                                      "--long-press, --user-factor or --low-pass too");
    }

    Arguments::ArgumentReader reader;
    std::vector<std::string> seen;
    CommandLine result;
};

std::optional<CommandLine> parseInformation(const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        CommandLine result;
        if (word == "--help" || word == "-h")
            result.action = CommandLine::Action::ShowHelp;
        else if (word == "--version" || word == "-v")
            result.action = CommandLine::Action::ShowVersion;
        else
            continue;
        return result;
    }
    return std::nullopt;
}

} // namespace

CommandLine parseCommandLine(const std::vector<std::string>& words) {
    if (const auto information = parseInformation(words))
        return *information;
    return Parser(words).parse();
}

} // namespace Replay

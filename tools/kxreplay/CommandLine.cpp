#include "tools/kxreplay/CommandLine.h"

#include "recording/KXSettingTable.h"
#include "recording/format/Text.h"
#include "tools/arguments/ArgumentReader.h"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace Replay {

namespace {

// Takes no sign, because no setting is negative.
std::int64_t takeNumber(Arguments::ArgumentReader& reader, const std::string& option,
                        const KX::KXSettingRange& range) {
    const std::string& text = reader.take("the number of " + option);
    std::uint32_t number = 0;
    if (!KX::Text::parseNumber(text, 10, number) || !range.contains(number))
        reader.refuse(option + ": " + KX::Text::quoted(text) + " is not a number from " +
                      std::to_string(range.least) + " to " + std::to_string(range.greatest));
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
        const auto row = std::find_if(
            KX::settingTable.begin(), KX::settingTable.end(), [&option](const KX::KXSettingRow& candidate) {
                return !candidate.isSwitch() && option == "--" + std::string(candidate.word);
            });
        if (row == KX::settingTable.end())
            return false;
        const std::int64_t number = takeNumber(reader, option, row->range);
        result.other.values[row->name] = number;
        result.otherText += (result.otherText.empty() ? "" : " ") + option + " " + std::to_string(number);
        return true;
    }

    void takeFile(const std::string& name) {
        if (!result.file.empty())
            reader.refuseUnknown("unexpected");
        if (name.empty())
            reader.refuse("the name of the recording is empty");
        result.file = name;
    }

    void checkThatTheyGoTogether() const {
        if (result.output == CommandLine::Output::Comparison && result.other.values.empty())
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

#include "tools/arguments/Grammar.h"

#include "recording/format/Text.h"

// Takes seconds to compile, so only this source includes it.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <set>
#include <utility>

namespace Arguments {

namespace {

constexpr std::size_t widthOfHelp = 80;

// A single dash is not an option: it stands for standard input.
bool looksLikeOption(const std::string& word) {
    return word.size() > 1 && word.front() == '-';
}

std::string beforeSign(const std::string& word) {
    return word.substr(0, word.find('='));
}

// Letters that share a dash: -vh is -v -h.
bool isBundle(const std::string& word) {
    const std::string name = beforeSign(word);
    return name.size() > 2 && name[1] != '-';
}

/// Options in two columns, with lines that fit the page.
class HelpFormatter : public CLI::Formatter {
public:
    std::string make_help(const CLI::App* app, std::string /*name*/, CLI::AppFormatMode /*mode*/) const override {
        std::string text = app->get_description();
        for (const std::string& group : app->get_groups())
            text += "\n" + group + ":\n" + rows(app, group);
        return text + "\n" + app->get_footer();
    }

private:
    using Options = std::vector<const CLI::Option*>;

    static std::string rows(const CLI::App* app, const std::string& group) {
        std::string text;
        for (const CLI::Option* const option : app->get_options())
            if (option->get_group() == group)
                text += row(*option, widestName(app) + 4);
        return text;
    }

    static std::size_t widestName(const CLI::App* app) {
        std::size_t width = 0;
        for (const CLI::Option* const option : app->get_options())
            width = std::max(width, nameOf(*option).size());
        return width;
    }

    static std::string nameOf(const CLI::Option& option) {
        std::string name = option.get_name(false, true);
        if (const std::size_t comma = name.find(','); comma != std::string::npos)
            name.insert(comma + 1, " ");
        const std::string placeholder = option.get_option_text();
        return placeholder.empty() ? name : name + " " + placeholder;
    }

    static std::string row(const CLI::Option& option, std::size_t column) {
        std::string text;
        std::string line = "  " + nameOf(option);
        line.resize(column, ' ');
        std::istringstream words(option.get_description());
        for (std::string word; words >> word;) {
            if (line.size() > column && line.size() + 1 + word.size() > widthOfHelp) {
                text += line + "\n";
                line.assign(column, ' ');
            }
            line += (line.size() > column ? " " : "") + word;
        }
        return text + line + "\n";
    }
};

} // namespace

class Grammar::Reader {
public:
    Reader(Program ownProgram, Numbers toldNumbers) : program(std::move(ownProgram)), numbers(toldNumbers) {
        app.set_help_flag();
        app.allow_extras();
        app.description(program.description);
        app.footer(program.examples);
        app.formatter(std::make_shared<HelpFormatter>());
    }

    // CLI11 calls it as soon as it has read the option and its value, so the number of the last argument is known.
    void addValue(const Option& option, const std::string& what, const TakeText& take) {
        CLI::Option* const added = app.add_option(option.names, [this, option, take](const CLI::results_t&) {
            takeValue(option, take);
            return true;
        });
        added->option_text(option.placeholder);
        complete(added, option);
        values.emplace(option.names, what);
    }

    void addSwitch(const Option& option, const std::function<void()>& take) {
        CLI::Option* const added =
            app.add_flag_callback(option.names, [this, option, take] { takeSwitch(option, take); });
        added->disable_flag_override();
        complete(added, option);
    }

    void addOperand(const std::string& what, TakeText take, Times times) {
        operands.push_back({what, std::move(take), times, 0});
    }

    std::optional<std::string> read(const std::vector<std::string>& arguments, std::size_t first) {
        if (const auto text = information(arguments))
            return text;
        words = arguments;
        firstNumber = first;
        readOptions();
        if (!informed)
            readOperands();
        return informed;
    }

    // CLI11 would refuse a bad argument first.
    std::optional<std::string> information(const std::vector<std::string>& arguments) {
        addInformation();
        for (const std::string& word : arguments) {
            if (word == "--")
                break;
            if (word == "-h" || word == "--help")
                return app.help();
            if (word == "-v" || word == "--version")
                return version();
        }
        return std::nullopt;
    }

    // Last in the help.
    void addInformation() {
        if (hasInformation)
            return;
        hasInformation = true;
        addSwitch(
            {"-h,--help", "", "show this help"}, [this] { informWith(app.help()); });
        addSwitch({"-v,--version", "", "show the version"}, [this] { informWith(version()); });
    }

    CLI::App app;
    std::string group = "Options";
    std::vector<std::pair<std::string, std::string>> excluded;

private:
    struct Operand {
        std::string what;
        TakeText take;
        Times times;
        int count = 0;
    };

    void informWith(const std::string& text) {
        if (!informed)
            informed = text;
    }

    std::string version() const { return program.name + " " + program.version + "\n"; }

    void complete(CLI::Option* added, const Option& option) const {
        added->description(option.help)->group(group)->trigger_on_parse();
        added->multi_option_policy(CLI::MultiOptionPolicy::TakeLast); // the second time is refused here
    }

    void readOptions() {
        left.assign(words.rbegin(), words.rend());
        try {
            app.parse(left);
        } catch (const CLI::ArgumentMismatch&) {
            const std::string name = beforeSign(words[lastRead()]);
            const auto value = values.find(name);
            if (value == values.end())
                refuseValue(lastRead());
            throw BadInput(missing(program.name, value->second + " of " + name));
        }
    }

    // The index of the argument that CLI11 has read last.
    std::size_t lastRead() const { return words.size() - left.size() - 1; }

    void takeSwitch(const Option& option, const std::function<void()>& take) {
        const std::size_t index = lastRead();
        taken.insert(index);
        // CLI11 would take the good letters and leave the others to nobody.
        if (isBundle(words[index]) && !areLettersKnown(words[index]))
            refuseUnknown(index);
        // It would take --json=true for --json.
        if (words[index].find('=') != std::string::npos)
            refuseValue(index);
        checkThatItMayBeGiven(option, index);
        callAt(index, take);
    }

    void takeValue(const Option& option, const TakeText& take) {
        const std::string& name = option.names;
        const std::size_t last = lastRead();
        const std::string before = last > 0 && taken.count(last - 1) == 0 ? words[last - 1] : std::string();
        if (before == name) {
            taken.insert({last - 1, last});
            checkThatItMayBeGiven(option, last - 1);
            callAt(last, [&] { take(words[last]); });
        } else if (before == name + "=") {
            // The value is empty. CLI11 took the next argument instead.
            left.push_back(words[last]);
            takeAttached(option, last - 1, take);
        } else {
            takeAttached(option, last, take);
        }
    }

    void takeAttached(const Option& option, std::size_t index, const TakeText& take) {
        taken.insert(index);
        checkThatItMayBeGiven(option, index);
        callAt(index, [&] { take(words[index].substr(option.names.size() + 1)); });
    }

    void checkThatItMayBeGiven(const Option& option, std::size_t index) {
        const std::string& name = option.names;
        for (const auto& [one, other] : excluded)
            if ((name == one && given.count(other) != 0) || (name == other && given.count(one) != 0))
                refuse(index, one + " and " + other + " do not go together");
        given.insert(name);
        const std::string& subject = option.subject.empty() ? name : option.subject;
        if (!subjects.insert(subject).second)
            refuse(index, subject + " is given twice");
    }

    // All that CLI11 left: operands, and options that nobody knows.
    void readOperands() {
        bool optionsHaveEnded = false;
        for (std::size_t index = 0; index < words.size(); ++index) {
            const std::string& word = words[index];
            if (taken.count(index) != 0)
                continue;
            if (!optionsHaveEnded && word == "--")
                optionsHaveEnded = true;
            else if (!optionsHaveEnded && looksLikeOption(word))
                refuseUnknown(index);
            else
                readOperand(index);
        }
        const auto none = std::find_if(operands.begin(), operands.end(), [](const Operand& o) {
            return o.count == 0 && o.times != Times::AnyNumber;
        });
        if (none != operands.end())
            throw BadInput(missing(program.name, none->what));
    }

    void readOperand(std::size_t index) {
        const auto next = std::find_if(operands.begin(), operands.end(), [](const Operand& operand) {
            return operand.count == 0 || operand.times != Times::Once;
        });
        const char* const unexpected = numbers == Numbers::AreTold ? "unexpected " : "unexpected argument ";
        if (next == operands.end())
            refuse(index, unexpected + KX::Text::quoted(words[index]));
        ++next->count;
        callAt(index, [&] { next->take(words[index]); });
    }

    template<typename Call>
    void callAt(std::size_t index, const Call& call) const {
        try {
            call();
        } catch (const BadInput& error) {
            refuse(index, error.what());
        }
    }

    bool areLettersKnown(const std::string& bundle) const {
        return std::all_of(
            bundle.begin() + 1, bundle.end(),
            [this](char letter) { return app.get_option_no_throw(std::string("-") + letter) != nullptr; });
    }

    [[noreturn]] void refuseValue(std::size_t index) const {
        if (isBundle(words[index]))
            refuseUnknown(index);
        refuse(index, beforeSign(words[index]) + " takes no value");
    }

    [[noreturn]] void refuseUnknown(std::size_t index) const {
        refuse(index, "unknown option " + KX::Text::quoted(words[index]));
    }

    [[noreturn]] void refuse(std::size_t index, const std::string& reason) const {
        const std::string place =
            numbers == Numbers::AreTold ? "argument " + std::to_string(firstNumber + index) + ": " : "";
        throw BadInput(program.name + ": " + place + reason);
    }

    const Program program;
    const Numbers numbers;
    std::map<std::string, std::string> values; // what it is called, by option
    std::vector<Operand> operands;
    bool hasInformation = false;

    std::vector<std::string> words;
    std::vector<std::string> left; // from the last to the next; CLI11 takes them away
    std::size_t firstNumber = 1;
    std::set<std::size_t> taken; // indices of options and their values
    std::set<std::string> given; // options
    std::set<std::string> subjects;
    std::optional<std::string> informed;
};

Grammar::Grammar(Program program, Numbers numbers)
    : reader(std::make_unique<Reader>(std::move(program), numbers)) {}

Grammar::~Grammar() = default;

void Grammar::beginGroup(const std::string& title) {
    reader->group = title;
}

void Grammar::addSwitch(const Option& option, std::function<void()> take) {
    reader->addSwitch(option, take);
}

void Grammar::addSwitch(const Option& option, bool& target) {
    reader->addSwitch(
        option, [&target] { target = true; });
}

void Grammar::addValue(const Option& option, const std::string& what, TakeText take) {
    reader->addValue(option, "the " + what, take);
}

void Grammar::addName(const Option& option, const std::string& what, TakeText take) {
    addValue(
        option, what,
        [take = std::move(take), name = option.names, what](const std::string& text) {
            if (text.empty())
                throw BadInput(name + ": the name of the " + what + " is empty");
            take(text);
        });
}

void Grammar::addName(const Option& option, const std::string& what, std::string& target) {
    addName(
        option, what, [&target](const std::string& text) { target = text; });
}

void Grammar::addNumber(const Option& option, std::uint32_t least, std::uint32_t greatest, TakeNumber take) {
    addValue(
        option, "number",
        [take = std::move(take), name = option.names, least, greatest](const std::string& text) {
            const auto number = parseWhole(text, least, greatest);
            if (!number)
                throw BadInput(name + ": " + KX::Text::quoted(text) + " is not a number from " +
                               std::to_string(least) + " to " + std::to_string(greatest));
            take(*number);
        });
}

void Grammar::addOperand(const std::string& what, TakeText take, Times times) {
    reader->addOperand(what, std::move(take), times);
}

void Grammar::exclude(const std::string& one, const std::string& other) {
    reader->excluded.emplace_back(one, other);
}

std::optional<std::string> Grammar::read(const std::vector<std::string>& arguments, std::size_t first) {
    return reader->read(arguments, first);
}

std::optional<std::string> Grammar::information(const std::vector<std::string>& arguments) {
    return reader->information(arguments);
}

std::optional<std::uint32_t> parseWhole(const std::string& text, std::uint32_t least, std::uint32_t greatest) {
    std::uint32_t number = 0;
    const bool isNumber = KX::Text::parseNumber(text, 10, number);
    return isNumber && number >= least && number <= greatest ? std::optional<std::uint32_t>(number) : std::nullopt;
}

std::optional<double> parseDecimal(const std::string& text, double least, double greatest) {
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number, std::chars_format::fixed);
    // Also false for NaN.
    const bool isInRange = number >= least && number <= greatest;
    return result.ec == std::errc() && result.ptr == end && isInRange ? std::optional<double>(number)
                                                                      : std::nullopt;
}

std::string quoted(const std::string& argument) {
    return KX::Text::quoted(argument);
}

std::string missing(const std::string& program, const std::string& what) {
    return program + ": " + what + " is missing; " + program + " --help shows how to call it";
}

} // namespace Arguments

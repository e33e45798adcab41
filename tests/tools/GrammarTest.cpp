#include "tools/arguments/Grammar.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

using Arguments::BadInput;
using Arguments::Grammar;
using Words = std::vector<std::string>;

/// A program with each kind of argument.
class GrammarTest : public testing::Test {
protected:
    static std::unique_ptr<Grammar> makeGrammar(Words& taken, Grammar::Numbers numbers) {
        auto grammar = std::make_unique<Grammar>(
            Arguments::Program{"tool", "1.2.3", "What it does.\n", "Examples:\n"}, numbers);
        const auto takeAs = [&taken](const std::string& name) {
            return [&taken, name](const std::string& text) { taken.push_back(name + " " + text); };
        };
        grammar->addSwitch(
            {"--dry", "", "does nothing"}, [&taken] { taken.push_back("dry"); });
        grammar->addSwitch({"--wet", "", "does something"}, [&taken] { taken.push_back("wet"); });
        grammar->exclude("--dry", "--wet");
        grammar->addSwitch(
            {"--fast", "", "quickly", "the speed"}, [&taken] { taken.push_back("fast"); });
        grammar->addSwitch({"--slow", "", "slowly", "the speed"}, [&taken] { taken.push_back("slow"); });
        grammar->beginGroup("Names and numbers");
        grammar->addName({"--name", "FILE", std::string(30, 'x') + " a b c " + std::string(60, 'y')}, "file",
                         takeAs("name"));
        grammar->addNumber({"--number", "N", "from 3 to 5"}, 3, 5, [&taken](std::uint32_t number) {
            taken.push_back("number " + std::to_string(number));
        });
        grammar->addOperand("the bus", takeAs("bus"));
        grammar->addOperand("the frame", takeAs("frame"), Grammar::Times::OnceOrMore);
        return grammar;
    }

    /// What was taken; or the help, the version or the refusal.
    Words read(const Words& words, Grammar::Numbers numbers = Grammar::Numbers::AreTold) {
        Words taken;
        try {
            const auto text = makeGrammar(taken, numbers)->read(words);
            return text ? Words{*text} : taken;
        } catch (const BadInput& error) {
            return {error.what()};
        }
    }

    Words untold(const Words& words) { return read(words, Grammar::Numbers::AreNotTold); }

    const Words operands{"bus a", "frame b"};
};

TEST_F(GrammarTest, a_value_stands_behind_a_blank_or_an_equals_sign) {
    for (const Words& words : {Words{"--name", "x", "a", "b"},
                               {"--name=x", "a", "b"},
                               {"a", "--name=x", "b"},
                               {"a", "b", "--name", "x"}}) {
        Words taken = read(words);
        ASSERT_EQ(taken.size(), 3U) << taken[0];
        EXPECT_EQ(taken[0], "name x");
    }
    EXPECT_EQ(read({"--name=a=b=", "a", "b"})[0], "name a=b=");
    EXPECT_EQ(read({"--name", "=", "a", "b"})[0], "name =");
}

TEST_F(GrammarTest, a_value_is_taken_whatever_it_looks_like) {
    for (const char* const value :
         {"-", "--", "--dry", "--name", "--name=x", "-x", "-1", "{}", "[a,b]", "++", "true", "a b"}) {
        EXPECT_EQ(read({"--name", value, "a", "b"}), (Words{std::string("name ") + value, "bus a", "frame b"}));
        EXPECT_EQ(read({std::string("--name=") + value, "a", "b"}),
                  (Words{std::string("name ") + value, "bus a", "frame b"}));
    }
}

TEST_F(GrammarTest, an_empty_value_is_no_reason_to_take_the_next_argument) {
    EXPECT_EQ(read({"--name=", "--dry", "b"}), Words{"tool: argument 1: --name: the name of the file is empty"});
    EXPECT_EQ(read({"a", "--name", "", "b"}), Words{"tool: argument 3: --name: the name of the file is empty"});
    EXPECT_EQ(read({"a", "b", "--name="}),
              Words{"tool: the file of --name is missing; tool --help shows how to call it"});
    EXPECT_EQ(read({"a", "b", "--name"}),
              Words{"tool: the file of --name is missing; tool --help shows how to call it"});
    EXPECT_EQ(read({"--number=", "4", "a"}), Words{"tool: argument 1: --number: '' is not a number from 3 to 5"});
}

TEST_F(GrammarTest, two_dashes_end_the_options) {
    EXPECT_EQ(read({"--", "--dry", "--help"}), (Words{"bus --dry", "frame --help"}));
    EXPECT_EQ(read({"--dry", "a", "--", "--", "-x"}), (Words{"dry", "bus a", "frame --", "frame -x"}));
    EXPECT_EQ(read({"a", "b", "--"}), operands);
}

TEST_F(GrammarTest, a_single_dash_is_an_operand) {
    EXPECT_EQ(read({"-", "-", "++"}), (Words{"bus -", "frame -", "frame ++"}));
}

TEST_F(GrammarTest, nothing_is_given_twice) {
    EXPECT_EQ(read({"--dry", "a", "--dry", "b"}), Words{"tool: argument 3: --dry is given twice"});
    EXPECT_EQ(read({"--name", "x", "--name", "y", "a", "b"}), Words{"tool: argument 3: --name is given twice"});
    EXPECT_EQ(read({"--name=x", "--name=x", "a", "b"}), Words{"tool: argument 2: --name is given twice"});
    EXPECT_EQ(read({"--fast", "--fast", "a", "b"}), Words{"tool: argument 2: the speed is given twice"});
    EXPECT_EQ(read({"--fast", "--slow", "a", "b"}), Words{"tool: argument 2: the speed is given twice"});
}

TEST_F(GrammarTest, options_that_exclude_each_other_are_refused_in_either_order) {
    EXPECT_EQ(read({"--dry", "--wet", "a", "b"}), Words{"tool: argument 2: --dry and --wet do not go together"});
    EXPECT_EQ(read({"a", "--wet", "b", "--dry"}), Words{"tool: argument 4: --dry and --wet do not go together"});
}

TEST_F(GrammarTest, a_number_is_plain_and_within_its_range) {
    EXPECT_EQ(read({"--number", "3", "a", "b"})[0], "number 3");
    EXPECT_EQ(read({"--number=5", "a", "b"})[0], "number 5");
    for (const std::string bad : {"2", "6", "", "-4", "+4", " 4", "4 ", "0x4", "4.0", "four", "4294967300"})
        EXPECT_EQ(read({"--number", bad, "a", "b"}),
                  Words{"tool: argument 2: --number: '" + bad + "' is not a number from 3 to 5"});
}

TEST_F(GrammarTest, a_switch_takes_no_value) {
    for (const std::string bad : {"--dry=", "--dry=x", "--dry=true", "--dry=false", "--dry=1"})
        EXPECT_EQ(read({"a", bad, "b"}), Words{"tool: argument 2: --dry takes no value"}) << bad;
}

TEST_F(GrammarTest, what_nobody_knows_is_refused_by_its_number) {
    for (const std::string bad :
         {"--what", "--what=x", "-x", "-1", "--dr", "--Dry", "-dry", "---", "--=", "-- ", "-=", "--[x]"})
        EXPECT_EQ(read({"a", bad, "b"}), Words{"tool: argument 2: unknown option '" + bad + "'"});
    EXPECT_EQ(read({"--wh\nat"}), Words{"tool: argument 1: unknown option '--wh?at'"});
    Words taken;
    Grammar none({"tool", "1", "", ""});
    EXPECT_THROW(none.read({"a"}), BadInput);
}

TEST_F(GrammarTest, a_bad_letter_does_not_hide_behind_a_good_one) {
    for (const std::string word : {"-hx", "-vhx", "-v=1", "-vh=1", "-vx=1", "-v-", "-v "})
        EXPECT_EQ(read({"a", word, "b"}),
                  (Words{"tool: argument 2: " +
                         (word == "-v=1" ? "-v takes no value" : "unknown option '" + word + "'")}));
    EXPECT_EQ(read({"-v\x8f=\xfb", "a", "b"}), (Words{"tool: argument 1: unknown option '-v?=?'"}));
}

TEST_F(GrammarTest, missing_operands_are_told_by_name) {
    EXPECT_EQ(read({}), Words{"tool: the bus is missing; tool --help shows how to call it"});
    EXPECT_EQ(read({"a", "--dry"}), Words{"tool: the frame is missing; tool --help shows how to call it"});
    EXPECT_EQ(read({"a", "b", "c"}), (Words{"bus a", "frame b", "frame c"}));
}

TEST_F(GrammarTest, a_toolkit_that_takes_arguments_away_makes_numbers_untold) {
    EXPECT_EQ(untold({"a", "--what"}), Words{"tool: unknown option '--what'"});
    EXPECT_EQ(untold({"--dry", "--dry"}), Words{"tool: --dry is given twice"});
}

TEST_F(GrammarTest, help_and_version_win_wherever_they_stand) {
    const std::string version = "tool 1.2.3\n";
    for (const Words& words : {Words{"--version"},
                               {"-v"},
                               {"--what", "-v"},
                               {"--number", "x", "--version"},
                               {"--dry", "--dry", "-v"},
                               {"a", "b", "-v"},
                               {"--name", "-v"},
                               {"-v", "-h"}})
        EXPECT_EQ(read(words), Words{version}) << words[0];
    EXPECT_EQ(read({"--help"}), read({"--dry", "--dry", "-h", "-v"}));
    EXPECT_EQ(read({"-vh"}), Words{version});
    EXPECT_EQ(read({"a", "--", "-v"}), (Words{"bus a", "frame -v"}));
}

TEST_F(GrammarTest, the_help_fits_the_page_and_tells_all_options) {
    const std::string help = read({"--help"})[0];
    EXPECT_EQ(help, "What it does.\n"
                    "\n"
                    "Options:\n"
                    "  --dry          does nothing\n"
                    "  --wet          does something\n"
                    "  --fast         quickly\n"
                    "  --slow         slowly\n"
                    "\n"
                    "Names and numbers:\n"
                    "  --name FILE    " +
                        std::string(30, 'x') +
                        " a b c\n"
                        "                 " +
                        std::string(60, 'y') +
                        "\n"
                        "  --number N     from 3 to 5\n"
                        "  -h, --help     show this help\n"
                        "  -v, --version  show the version\n"
                        "\n"
                        "Examples:\n");
}

TEST(ParseDecimalTest, takes_plain_numbers_of_the_range_only) {
    EXPECT_EQ(Arguments::parseDecimal("0.01", 0.01, 1000), 0.01);
    EXPECT_EQ(Arguments::parseDecimal("1000", 0.01, 1000), 1000);
    for (const char* const bad :
         {"0.009", "1000.001", "", "x", "1x", "nan", "inf", "-1", "+1", "1e2", " 1", "0x1"})
        EXPECT_FALSE(Arguments::parseDecimal(bad, 0.01, 1000)) << bad;
}

} // namespace

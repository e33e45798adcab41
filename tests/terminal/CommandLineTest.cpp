#include "terminal/session/CommandLine.h"

#include <gtest/gtest.h>

using namespace Terminal;

namespace {

CommandLine parse(const QStringList& arguments) {
    return CommandLine::parse(QStringList{QStringLiteral("kxterminal")} + arguments);
}

} // namespace

TEST(CommandLineTest, WithoutArgumentsItJustRuns) {
    const CommandLine settings = parse({});
    EXPECT_EQ(CommandLine::Outcome::Run, settings.outcome);
    EXPECT_FALSE(settings.print);
    EXPECT_FALSE(settings.demo);
    EXPECT_FALSE(settings.exitAfterMs.has_value());
    EXPECT_TRUE(settings.screenshotFile.isEmpty());
    EXPECT_FALSE(settings.canBus.has_value());
    EXPECT_TRUE(settings.keypadFile.isEmpty());
}

TEST(CommandLineTest, TakesAllOptionsTogether) {
    const CommandLine settings = parse({"--print", "--demo", "--exit-after", "250", "--screenshot=a.png"});
    EXPECT_EQ(CommandLine::Outcome::Run, settings.outcome) << settings.text.toStdString();
    EXPECT_TRUE(settings.print);
    EXPECT_TRUE(settings.demo);
    EXPECT_EQ(250, settings.exitAfterMs);
    EXPECT_EQ(QStringLiteral("a.png"), settings.screenshotFile);
}

TEST(CommandLineTest, TakesBusAndLayoutOfTheKeypadButNoEmptyOnes) {
    const CommandLine settings = parse({"--can-bus", "can0", "--keypad", "keys.txt"});
    EXPECT_EQ(QStringLiteral("can0"), settings.canBus);
    EXPECT_EQ(QStringLiteral("keys.txt"), settings.keypadFile);
    for (const char* option : {"--can-bus", "--keypad"}) {
        const CommandLine refused = parse({option, ""});
        EXPECT_EQ(CommandLine::Outcome::Refuse, refused.outcome) << option;
        EXPECT_TRUE(refused.text.contains(option)) << refused.text.toStdString();
    }
}

TEST(CommandLineTest, MillisecondsGoFromZeroToTheGreatestInt) {
    EXPECT_EQ(0, parse({"--exit-after", "0"}).exitAfterMs);
    EXPECT_EQ(2147483647, parse({"--exit-after", "2147483647"}).exitAfterMs);
    for (const char* bad : {"-1", "2147483648", "", " 5", "+5", "5ms", "0x10", "99999999999999999999"}) {
        const CommandLine refused = parse({"--exit-after", bad});
        EXPECT_EQ(CommandLine::Outcome::Refuse, refused.outcome) << bad;
        EXPECT_TRUE(refused.text.contains(QStringLiteral("'%1'").arg(bad))) << refused.text.toStdString();
    }
}

TEST(CommandLineTest, ARefusalIsOneLineWhateverWasTyped) {
    const CommandLine refused = parse({QStringLiteral("one\ntwo\rthree\033four")});
    EXPECT_EQ(CommandLine::Outcome::Refuse, refused.outcome);
    EXPECT_EQ("kxterminal: unexpected argument 'one?two?three?four'", refused.text.toStdString());
}

TEST(CommandLineTest, HelpAndVersionComeBeforeOtherSettings) {
    EXPECT_EQ(CommandLine::Outcome::Inform, parse({"--help", "--exit-after", "x"}).outcome);
    EXPECT_EQ(CommandLine::Outcome::Inform, parse({"-v"}).outcome);
}

TEST(CommandLineTest, TakesWhatToKeepAndWhereToSaveIt) {
    const CommandLine settings = parse({"--keep-last", "10", "--save-to", "complaints", "--save-most=3"});
    EXPECT_EQ(CommandLine::Outcome::Run, settings.outcome) << settings.text.toStdString();
    EXPECT_EQ(10, settings.keptMinutes);
    EXPECT_EQ(QStringLiteral("complaints"), settings.saveTo);
    EXPECT_EQ(3, settings.mostSaved);
    EXPECT_EQ(0, parse({}).keptMinutes);
    EXPECT_EQ(QStringLiteral("."), parse({"--keep-last", "1"}).saveTo);
}

TEST(CommandLineTest, MinutesGoFromOneToADay) {
    EXPECT_EQ(1, parse({"--keep-last", "1"}).keptMinutes);
    EXPECT_EQ(1440, parse({"--keep-last", "1440"}).keptMinutes);
    for (const char* bad : {"0", "1441", "", "-1", "1.5", "ten"}) {
        const CommandLine refused = parse({"--keep-last", bad});
        EXPECT_EQ(QStringLiteral("kxterminal: --keep-last: '%1' is not a number from 1 to 1440").arg(bad),
                  refused.text);
    }
}

TEST(CommandLineTest, SavesOnlyWhatIsKept) {
    EXPECT_EQ("kxterminal: --save-to is for --keep-last only", parse({"--save-to", "x"}).text.toStdString());
    EXPECT_EQ("kxterminal: --save-most is for --keep-last only", parse({"--save-most", "3"}).text.toStdString());
    EXPECT_EQ(CommandLine::Outcome::Refuse, parse({"--keep-last", "3", "--replay", "a.kxr"}).outcome);
}

TEST(CommandLineTest, TakesAPartOfAReplay) {
    const CommandLine settings = parse({"--replay", "a.kxr", "--from", "12.5s", "--to=4294967295"});
    ASSERT_EQ(CommandLine::Outcome::Run, settings.outcome) << settings.text.toStdString();
    EXPECT_EQ(13500U, settings.from->inSession(1000));
    EXPECT_EQ(4294967295U, settings.to->inSession(1000));
    EXPECT_EQ((std::uint64_t{1} << 32) + 5, Arguments::SessionTime::parse("5").inSession(4294967290U))
        << "past the wrap";
    for (const char* bad : {"", "s", "-1", "1.5", "1m", "4294967296", "1s s", "nans"}) {
        const CommandLine refused = parse({"--replay", "a.kxr", "--from", bad});
        EXPECT_EQ(
            QStringLiteral("kxterminal: --from: '%1' is neither a tick (8933702) nor seconds from the beginning "
                           "(12.5s)")
                .arg(bad),
            refused.text);
    }
    EXPECT_EQ("kxterminal: --from is for --replay only", parse({"--from", "1"}).text.toStdString());
    EXPECT_EQ("kxterminal: --to is for --replay only", parse({"--to", "1s"}).text.toStdString());
}

TEST(CommandLineTest, NothingIsGivenTwice) {
    EXPECT_EQ("kxterminal: --print is given twice", parse({"--print", "--print"}).text.toStdString());
    EXPECT_EQ("kxterminal: --record is given twice", parse({"--record=a", "--record", "a"}).text.toStdString());
    EXPECT_TRUE(parse({"--full-screen"}).fullScreen);
}

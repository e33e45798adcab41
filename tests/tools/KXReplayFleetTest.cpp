// kxreplay over many recordings, and its pictures, as a user calls it.

#include "PipedProgram.h"
#include "ToolProgram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string press = " toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n";
const std::string release = " toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n";

/// Two presses, \p gap ms apart.
std::string twoPresses(unsigned int gap) {
    return "kxrecording 2\n1000 pass\n1000" + press + "1040" + release + std::to_string(1000 + gap) + press +
           std::to_string(1060 + gap) + release + "3000 pass\n3100 end\n";
}

class KXReplayFleet : public testing::Test {
protected:
    KXReplayFleet() {
        for (unsigned int number = 0; number < 8; ++number)
            files.push_back(folder.write("r" + std::to_string(number) + ".kxr", twoPresses(270 + 10 * number)));
    }

    int run(std::vector<std::string> arguments, const std::vector<std::string>& more = {},
            const std::string& input = {}) {
        arguments.insert(arguments.end(), more.begin(), more.end());
        ToolProgram program(KXREPLAY, folder, arguments, input);
        const int status = program.wait();
        output = program.output();
        errors = program.errors();
        return status;
    }

    std::string content(const std::string& name) const {
        std::ifstream file(folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TestFolder folder;
    std::vector<std::string> files;
    std::string output;
    std::string errors;
};

TEST_F(KXReplayFleet, CountsOverAllRecordings) {
    EXPECT_EQ(0, run({"--statistics"}, files)) << errors;
    EXPECT_THAT(output, StartsWith("8 recordings of 0 min 16 s\n"));
    EXPECT_THAT(output, HasSubstr("  key 0 (Esc)                         12           4           -"));
}

TEST_F(KXReplayFleet, GivesTheSameForAnyNumberOfJobs) {
    files.push_back(folder / "missing.kxr");
    ASSERT_EQ(1, run({"--statistics", "--jobs", "1", "--json"}, files));
    const std::string alone = output;
    const std::string aloneErrors = errors;
    for (const char* const jobs : {"2", "3", "40"}) {
        EXPECT_EQ(1, run({"--statistics", "--jobs", jobs, "--json"}, files));
        EXPECT_EQ(alone, output);
        EXPECT_EQ(aloneErrors, errors);
    }
}

TEST_F(KXReplayFleet, NamesABadRecordingAndLeavesItOut) {
    const std::string bad = folder.write("bad.kxr", "kxrecording 2\n1000 tea=1 pass\n1000 pass now\n");
    files.insert(files.begin() + 2, {bad, folder / "missing.kxr", folder.write("empty.kxr", "kxrecording 2\n")});
    EXPECT_EQ(1, run({"--statistics"}, files));
    EXPECT_EQ(bad + ":3: unexpected 'now' at the end\n" + folder / "missing.kxr" +
                  ": No such file or directory\n" + folder / "empty.kxr" + ": there is nothing to play in it\n",
              errors);
    EXPECT_THAT(output, StartsWith("8 recordings of 0 min 16 s; 3 more left out\n"));
}

TEST_F(KXReplayFleet, HasNoResultWhenNothingCouldBePlayed) {
    EXPECT_EQ(2, run({"--statistics", "-"}));
    EXPECT_EQ("standard input: there is nothing to play in it\n", errors);
    EXPECT_EQ("", output);
    const std::string empty = folder.write("empty.kxr", "");
    EXPECT_EQ(2, run({"--statistics", empty, folder / "missing.kxr"}));
    EXPECT_EQ("", output);
    EXPECT_EQ(2, run({"--statistics", "--json", empty}));
    EXPECT_EQ("{\"is\":\"recordings left out\",\"count\":1}\n", output) << "what other runs may be added to";
    EXPECT_EQ(1, run({"--statistics", empty, files[0]}));
    EXPECT_THAT(output, StartsWith("1 recording of"));
}

TEST_F(KXReplayFleet, CountsAFileOnce) {
    ASSERT_EQ(0, run({"--statistics", "--json", files[0], files[1]}));
    const std::string expected = output;
    EXPECT_EQ(0, run({"--statistics", "--json", files[0], files[1], files[0], files[0]}));
    EXPECT_EQ(expected, output);
    EXPECT_EQ(files[0] + ": given twice, counted once\n", errors);
    const std::string counts = folder.write("a.json", output);
    EXPECT_EQ(0, run({"--merge", "--json", "--files-from", "-", counts}, {}, counts + "\n"));
    EXPECT_EQ(expected, output);
    EXPECT_EQ(counts + ": given twice, counted once\n", errors);
}

TEST_F(KXReplayFleet, ReadsStandardInputOnce) {
    const std::string list = folder.write("list", "-\n");
    for (const std::vector<std::string>& call : std::vector<std::vector<std::string>>{
             {"--statistics", "-", "-"},
             {"--merge", "-", "-"},
             {"--statistics", "--files-from", "-", "-"},
             {"--statistics", "--files-from", list, "-"},
         }) {
        EXPECT_EQ(2, run(call, {}, twoPresses(300))) << testing::PrintToString(call);
        EXPECT_EQ("kxreplay: '-' is given twice, but standard input can be read only once\n", errors);
        EXPECT_EQ("", output);
    }
    EXPECT_EQ(0, run({"--statistics", "--files-from", list}, {}, twoPresses(300))) << errors;
}

TEST_F(KXReplayFleet, CountsWithOtherLimits) {
    EXPECT_EQ(0, run({"--statistics", "--grid", "double-press=269..340:71,long-press=320"}, files)) << errors;
    EXPECT_THAT(output, HasSubstr("269 ms                           8           0          -4           0"));
    EXPECT_THAT(output, HasSubstr("340 ms                           8           8          +4           0"));
    EXPECT_THAT(output, HasSubstr("320 ms                           8           4           0"));
    EXPECT_THAT(output,
                EndsWith("  change: from the gestures above, with the recorded limits unless other ones are "
                         "given\n"));
}

TEST_F(KXReplayFleet, SaysWhereALimitIsNotPossible) {
    EXPECT_EQ(0, run({"--statistics", "--json", "--grid", "double-press=2000"}, files));
    EXPECT_THAT(output,
                HasSubstr("{\"is\":\"grid impossible\",\"limit\":\"double-press\",\"valueMs\":2000,\"count\":8}"));
    EXPECT_THAT(output, Not(HasSubstr("grid recordings")));
    EXPECT_EQ(0, run({"--statistics", "--grid", "double-press=2000"}, files));
    EXPECT_THAT(output,
                EndsWith("  not possible: recordings in which the double press would not be shorter than the "
                         "long press\n"));
    EXPECT_THAT(output, Not(HasSubstr("change: ")));
}

TEST_F(KXReplayFleet, NamesTheRecordingsThatOtherSettingsDoNotGoTogetherWith) {
    EXPECT_EQ(2, run({"--statistics", "--double-press", "2000", files[0]}));
    EXPECT_EQ(files[0] + ": a double press of 2000 ms is not shorter than a long press of 2000 ms\n", errors);
}

TEST_F(KXReplayFleet, AddsUpTheCountsOfSeveralRuns) {
    const std::vector<std::string> first(files.begin(), files.begin() + 3);
    const std::vector<std::string> second(files.begin() + 3, files.end());
    ASSERT_EQ(0, run({"--statistics", "--json", "--grid", "double-press=290"}, first));
    const std::string one = folder.write("one.json", output);
    ASSERT_EQ(0, run({"--statistics", "--json", "--grid", "double-press=290"}, second));
    const std::string other = folder.write("other.json", output);
    ASSERT_EQ(0, run({"--statistics", "--grid", "double-press=290"}, files));
    const std::string all = output;
    EXPECT_EQ(0, run({"--merge", one, other}));
    EXPECT_EQ(all, output);
}

TEST_F(KXReplayFleet, RefusesToMergeAnythingElse) {
    EXPECT_EQ(2, run({"--merge", "-"}));
    EXPECT_EQ("standard input: there is nothing to add up in it\n", errors);
    EXPECT_EQ(2, run({"--merge", folder / ""}));
    EXPECT_EQ(folder / "" + ": Is a directory\n", errors);
    EXPECT_EQ(2, run({"--merge"}));
    EXPECT_EQ("kxreplay: the output of --statistics --json is missing; kxreplay --help shows how to call it\n",
              errors);
    EXPECT_EQ(2, run({"--merge", files[0]}));
    EXPECT_EQ(files[0] + ":1: this is no line of kxreplay --statistics --json\n", errors);
}

TEST_F(KXReplayFleet, ReadsNamesOfFiles) {
    std::string lines;
    std::string zeros;
    for (const std::string& file : files) {
        lines += file + "\n";
        zeros += file + '\0';
    }
    ASSERT_EQ(0, run({"--statistics"}, files));
    const std::string expected = output;
    EXPECT_EQ(0, run({"--statistics", "--files-from", "-"}, {}, lines));
    EXPECT_EQ(expected, output);
    EXPECT_EQ(0, run({"--statistics", "--files-from", folder.write("list", zeros)}));
    EXPECT_EQ(expected, output);
    EXPECT_EQ(2, run({"--statistics", "--files-from", "-"}, {}, "\n"));
    EXPECT_EQ("kxreplay: no recording is named in standard input\n", errors);
}

TEST_F(KXReplayFleet, SaysHowFarItWasWhenItIsInterrupted) {
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    for (const int signal : {SIGINT, SIGTERM}) {
        PipedProgram program(KXREPLAY, {"--statistics", "--jobs", "1", files[0], pipe, files[1]});
        const int writer = open(pipe.c_str(), O_WRONLY); // the worker has come to the second one
        program.raise(signal);
        EXPECT_THAT(program.readAll(), StartsWith("1 recording of 0 min 2 s\n"));
        EXPECT_EQ(128 + signal, program.wait());
        close(writer);
    }
}

TEST_F(KXReplayFleet, LosesOnlyTheRecordingWhoseProcessDies) {
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    PipedProgram program(KXREPLAY, {"--statistics", "--jobs", "1", files[0], pipe, files[1]});
    const int writer = open(pipe.c_str(), O_WRONLY);
    program.killChild();
    EXPECT_THAT(program.readAll(), StartsWith("2 recordings of 0 min 4 s; 1 more left out\n"));
    EXPECT_EQ(1, program.wait());
    close(writer);
}

// In kB. The program has waited for its workers, so theirs is in it.
long greatestMemory(const std::string& file) {
    const pid_t process = fork();
    if (process == 0) {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        execl(KXREPLAY, "kxreplay", "--statistics", "--jobs", "1", file.c_str(), nullptr);
        _exit(127);
    }
    int status = -1;
    rusage usage{};
    EXPECT_EQ(process, wait4(process, &status, 0, &usage));
    EXPECT_EQ(0, status);
    return usage.ru_maxrss;
}

TEST_F(KXReplayFleet, NeedsNoMoreMemoryForALongRecording) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "A sanitizer keeps what the program frees.";
#endif
    const std::string longFile = folder / "long.kxr";
    {
        std::ofstream text(longFile);
        text << "kxrecording 2\n";
        for (unsigned int ms = 1000; ms < 20001000; ms += 100)
            text << ms << " pass\n" << ms << (ms % 200 == 0 ? press : release);
    }
    constexpr long someMiB = 4096;
    EXPECT_LT(greatestMemory(longFile) - greatestMemory(files[0]), someMiB) << "200,000 presses against 2";
}

TEST_F(KXReplayFleet, DrawsATimeLine) {
    const std::string picture = folder / "a.svg";
    EXPECT_EQ(0, run({"--plot", picture, files[3]})) << errors;
    EXPECT_EQ("", output);
    const std::string svg = content("a.svg");
    for (const char* const text : {"r3.kxr", "key 0 (Esc)", "300 ms", "double press", "0 s is tick 1000"})
        EXPECT_THAT(svg, HasSubstr(text));
    EXPECT_EQ(0, run({"--plot", folder / "a.png", files[3]}));
    EXPECT_THAT(content("a.png"), StartsWith("\x89PNG"));
    EXPECT_EQ(0, run({"--plot", folder / "a.pdf", files[3]}));
    EXPECT_THAT(content("a.pdf"), StartsWith("%PDF-"));
}

TEST_F(KXReplayFleet, DrawsAPartOfATimeLine) {
    EXPECT_EQ(0, run({"--plot", folder / "a.svg", "--from", "0.2s", "--to", "1400", files[3]}));
    EXPECT_THAT(content("a.svg"), HasSubstr("0.30 s"));
    EXPECT_THAT(content("a.svg"), Not(HasSubstr("0.50 s")));
}

TEST_F(KXReplayFleet, SaysWhyAPartCannotBeDrawn) {
    const auto whyRefused = [this](const std::vector<std::string>& times) {
        std::vector<std::string> arguments = {"--plot", folder / "b.svg", files[3]};
        EXPECT_EQ(2, run(arguments, times));
        return errors;
    };
    EXPECT_EQ("kxreplay: --to: tick 1 is not in the recording (1000 to 3100)\n", whyRefused({"--to", "1"}));
    EXPECT_EQ("kxreplay: --from: 99.000 s is behind the end of the recording, at 2.100 s\n",
              whyRefused({"--from", "99s"}));
    EXPECT_EQ("kxreplay: --to: tick 1500 is before --from, tick 2000\n",
              whyRefused({"--from", "1s", "--to", "0.5s"}));
    EXPECT_EQ("kxreplay: --from and --to are the same moment\n", whyRefused({"--from", "1s", "--to", "2000"}));
    EXPECT_EQ("kxreplay: --from: nothing is left of the recording behind it\n", whyRefused({"--from", "3100"}));
    EXPECT_EQ("kxreplay: --to: nothing of the recording is before it\n", whyRefused({"--to", "1000"}));
}

TEST_F(KXReplayFleet, DrawsStatistics) {
    EXPECT_EQ(0, run({"--statistics", "--grid", "double-press=290", "--plot", folder / "s.svg"}, files));
    EXPECT_THAT(content("s.svg"), HasSubstr("Double presses with another --double-press"));
}

TEST_F(KXReplayFleet, FailsInOneLineWhenThePictureCannotBeWritten) {
    EXPECT_EQ(1, run({"--plot", folder / "no/a.svg", files[0]}));
    EXPECT_EQ("kxreplay: " + folder / "no/a.svg" + ": No such file or directory\n", errors);
}

TEST_F(KXReplayFleet, RefusesOptionsThatDoNotGoTogether) {
    const std::string& file = files[0];
    const std::vector<std::vector<std::string>> calls = {
        {"--statistics"},
        {"--merge"},
        {"--follow"},
        {"--statistics", "--follow", file},
        {"--statistics", "--summary", file},
        {"--statistics", "--merge", file},
        {"--merge", "--grid", "long-press=1", file},
        {"--follow", "--plot", "a.svg", file},
        {"--follow", "--expect", file, file},
        {"--follow", "--compare", "--long-press", "1", file},
        {"--plot", "a.svg", "--json", file},
        {"--plot", "a.gif", file},
        {"--plot", ".svg", file},
        {"--plot", "", file},
        {"--from", "1s", file},
        {"--to", "1s", file},
        {"--plot", "a.svg", "--from", "soon", file},
        {"--grid", "long-press=1", file},
        {"--jobs", "2", file},
        {"--files-from", "-", file},
        {"--statistics", "--jobs", "0", file},
        {"--statistics", "--grid", "", file},
        {"--statistics", "--grid", "double-press=1..", file},
        {"--statistics", "--grid", "double-press=1,", file},
        {"--statistics", "--files-from", folder / "missing"},
        {"--follow", folder / "missing"},
        {"--statistics", "--keypad", folder / "missing", file},
        {file, file},
    };
    for (const std::vector<std::string>& call : calls) {
        EXPECT_EQ(2, run(call)) << testing::PrintToString(call);
        EXPECT_EQ(1, std::count(errors.begin(), errors.end(), '\n')) << errors;
        EXPECT_EQ("", output);
    }
}

TEST_F(KXReplayFleet, FailsInOneLineWhenItsOutputCannotBeWritten) {
    const std::string words = "exec '" KXREPLAY "' --statistics '" + files[0] + "' >/dev/full";
    ToolProgram program("/bin/sh", folder, {"-c", words});
    EXPECT_EQ(1, program.wait());
    EXPECT_EQ("kxreplay: standard output: No space left on device\n", program.errors());
}

} // namespace

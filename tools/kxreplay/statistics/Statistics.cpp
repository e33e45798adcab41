#include "tools/kxreplay/statistics/Statistics.h"

#include "replay/LibraryOutput.h"
#include "tools/arguments/BadInput.h"
#include "tools/kxreplay/Keypad.h"
#include "tools/kxreplay/Program.h"
#include "tools/kxreplay/plot/Picture.h"
#include "tools/kxreplay/statistics/CountLines.h"
#include "tools/kxreplay/statistics/FileNames.h"
#include "tools/kxreplay/statistics/StatisticsPicture.h"
#include "tools/kxreplay/statistics/StatisticsText.h"
#include "tools/kxreplay/statistics/Workers.h"
#include "tools/output/StandardOutput.h"
#include "tools/progress/Progress.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <thread>
#include <vector>

namespace Replay {

namespace {

void tell(const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
}

void checkThatStandardInputIsReadOnce(const CommandLine& arguments, const std::vector<std::string>& files) {
    if (std::count(files.begin(), files.end(), "-") + (arguments.listFile == "-" ? 1 : 0) > 1)
        throw Arguments::BadInput("kxreplay: '-' is given twice, but standard input can be read only once");
}

std::vector<std::string> eachOnce(const std::vector<std::string>& files) {
    std::map<std::string, int> times;
    std::vector<std::string> result;
    for (const std::string& file : files) {
        const int time = ++times[file];
        if (time == 1)
            result.push_back(file);
        else if (time == 2)
            tell(file + ": given twice, counted once");
    }
    return result;
}

std::vector<std::string> filesOf(const CommandLine& arguments) {
    std::vector<std::string> files = arguments.files;
    checkThatStandardInputIsReadOnce(arguments, files); // before the list, which may be a terminal
    if (!arguments.listFile.empty()) {
        const std::vector<std::string> listed = readFileNames(arguments.listFile);
        files.insert(files.end(), listed.begin(), listed.end());
        checkThatStandardInputIsReadOnce(arguments, files);
    }
    if (files.empty())
        throw Arguments::BadInput("kxreplay: no recording is named in " +
                                  (arguments.listFile == "-" ? "standard input" : arguments.listFile));
    return eachOnce(files);
}

void addFile(const std::string& path, Counts& counts) {
    if (path == "-") {
        addLines(std::cin, "standard input", counts);
        return;
    }
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw Arguments::BadInput(path + ": " + std::strerror(errno));
    addLines(file, path, counts);
}

SurveyResult merge(const std::vector<std::string>& files) {
    SurveyResult result;
    for (const std::string& file : files) {
        Counts counts;
        addFile(file, counts);
        // The output of a run that was lost must not pass.
        if (counts.all().empty())
            throw Arguments::BadInput((file == "-" ? "standard input" : file) +
                                      ": there is nothing to add up in it");
        result.counts.add(counts);
    }
    result.done = files.size();
    return result;
}

SurveyResult survey(const CommandLine& arguments, const std::vector<std::string>& files) {
    Survey::Options options;
    options.other = arguments.other;
    options.keypadFile = arguments.keypadFile;
    options.grids = arguments.grids;
    if (!options.keypadFile.empty())
        readKeypad(options.keypadFile); // a bad one would spoil each recording
    const KX::LibraryOutput library(arguments.showLibraryOutput ? KX::LibraryOutput::Goes::ToStandardError
                                                                : KX::LibraryOutput::Goes::Nowhere);
    const unsigned int jobs =
        arguments.jobs != 0 ? arguments.jobs : std::max(std::thread::hardware_concurrency(), 1U);
    std::optional<Progress::Reporter> progress;
    progress.emplace("kxreplay", "recordings played", files.size());
    SurveyResult result = surveyAll(files, options, jobs, &tell, [&progress] { progress->countOne(); });
    progress.reset(); // ends its line
    if (result.signal != 0)
        tell("kxreplay: interrupted after " + std::to_string(result.done) + " of " + std::to_string(files.size()) +
             " recordings");
    return result;
}

void print(const CommandLine& arguments, const Counts& counts) {
    if (!arguments.plotFile.empty())
        Picture::draw(arguments.plotFile, StatisticsPicture(counts));
    else
        Output::write(arguments.format == Format::JSON ? toLines(counts) : toText(counts));
}

} // namespace

int runStatistics(const CommandLine& arguments) {
    const bool isMerge = arguments.output == CommandLine::Output::Merge;
    const std::vector<std::string> files = filesOf(arguments);
    if (!arguments.plotFile.empty())
        Picture::checkThatItCanBeWritten(arguments.plotFile);
    const SurveyResult result = isMerge ? merge(files) : survey(arguments, files);
    const bool isAllLeftOut = result.done != 0 && result.leftOut == result.done;
    // A table of zeros would look like a result. Lines may be added to those of other machines.
    if (!isAllLeftOut || arguments.format == Format::JSON)
        print(arguments, result.counts);
    if (result.signal != 0)
        return signalStatus + result.signal;
    if (isAllLeftOut)
        return Arguments::badInputStatus;
    return result.leftOut == 0 ? playedStatus : failedStatus;
}

} // namespace Replay

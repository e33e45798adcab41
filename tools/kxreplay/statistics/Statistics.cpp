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
#include <optional>
#include <thread>
#include <vector>

namespace Replay {

namespace {

void tell(const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
}

std::vector<std::string> filesOf(const CommandLine& arguments) {
    std::vector<std::string> files = arguments.files;
    if (!arguments.listFile.empty()) {
        const std::vector<std::string> listed = readFileNames(arguments.listFile);
        files.insert(files.end(), listed.begin(), listed.end());
    }
    if (files.empty())
        throw Arguments::BadInput("kxreplay: no recording is named in " +
                                  (arguments.listFile == "-" ? "standard input" : arguments.listFile));
    return files;
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
    print(arguments, result.counts);
    if (result.signal != 0)
        return signalStatus + result.signal;
    return result.leftOut == 0 ? playedStatus : failedStatus;
}

} // namespace Replay

#pragma once

#include "tools/kxreplay/statistics/Counts.h"
#include "tools/kxreplay/statistics/Survey.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Replay {

/// What came out of a run over many recordings.
struct SurveyResult {
    Counts counts;
    std::size_t done = 0;    ///< recordings that were read, bad ones too
    std::size_t leftOut = 0; ///< bad ones among them
    int signal = 0;          ///< SIGINT or SIGTERM ended it before all were read; 0: none
};

/// Counts what is in many recordings, in processes of their own: the library is one instance per process.
///
/// The result is the same for any number of processes. A process that dies takes only its recording with it.
/// \param tell     gets one line for each bad recording, in the order of the files
/// \param oneDone  is called after each recording
/// \throws std::runtime_error  the system has no process or pipe left
SurveyResult surveyAll(const std::vector<std::string>& files, const Survey::Options& options, unsigned int jobs,
                       const std::function<void(const std::string&)>& tell, const std::function<void()>& oneDone);

} // namespace Replay

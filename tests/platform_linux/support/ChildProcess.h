#pragma once

#include <functional>
#include <string>
#include <vector>

struct ChildResult {
    int status = -1; ///< exit status; -1 when it was ended by a signal
    std::string errorOutput;
    std::vector<std::string> lines; ///< of the error output, without line ends
};

/// Runs a program with KX_DEBUG as given and collects its standard error through a pipe.
/// \param debugSetting  null: the variable is not set
ChildResult runWithDebugSetting(const char* debugSetting, std::vector<std::string> command);

/// Runs something in a copy of this process.
/// \return what it returned; -1 when a signal ended the copy
int runInChild(const std::function<int()>& function);

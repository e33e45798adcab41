#pragma once

#include <string>
#include <vector>

namespace Replay {

/// Reads names of files, one a line, or with a zero byte after each, as `find -print0` writes them.
/// \param list  "-" is standard input
/// \throws KX::Recording::BadFile
std::vector<std::string> readFileNames(const std::string& list);

} // namespace Replay

#pragma once

#include <string>

namespace Replay {

/// The whole of a file or of a pipe.
/// \param path  "-" is standard input
/// \throws KX::Recording::BadFile when it cannot be read
std::string readWhole(const std::string& path);

} // namespace Replay

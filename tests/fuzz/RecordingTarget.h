#pragma once

#include <string>

namespace KX::Recording::test {

/// Reads \p bytes as a file. If the file is usable, its entries must be in time order and must stay the same when
/// they are written and read again.
/// \return what is wrong; empty when nothing is
std::string problemWith(const std::string& bytes);

} // namespace KX::Recording::test

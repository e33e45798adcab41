#pragma once

#include <string>

namespace Recording::test {

/// Reads \p bytes as a file and, when that is one that can be used, holds it to what is promised: its entries are in
/// time order, and written down again they are the same.
/// \return what is wrong; empty when nothing is
std::string problemWith(const std::string& bytes);

} // namespace Recording::test

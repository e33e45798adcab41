#pragma once

#include <string>
#include <string_view>

namespace Replay {

/// The difference of two texts line by line in the format of diff -u, with three lines of context; empty when they
/// are equal. A missing line end at the end is a difference.
std::string unifiedDiff(std::string_view oldText, const std::string& oldName, std::string_view newText,
                        const std::string& newName);

} // namespace Replay

#pragma once

#include <string>
#include <string_view>

namespace Replay {

/// What differs between two texts, line by line, as diff -u writes it, with three lines of context; empty when
/// the texts are equal. A last line without a line end is told from one that has it.
std::string unifiedDiff(std::string_view oldText, const std::string& oldName, std::string_view newText,
                        const std::string& newName);

} // namespace Replay

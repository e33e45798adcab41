#pragma once

#include <string>

namespace Bench {

/// The name of an event type from a table with a place for every number: the least that it takes.
std::string nameFromTable(int type);

} // namespace Bench

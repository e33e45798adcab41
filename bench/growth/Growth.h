#pragma once

namespace Bench {

// Each adds its benchmarks. The scenarios are called growth, and then what grows.

void addWaitingEvents();
void addWaitingActions();
void addChains();
void addPostingThreads();

} // namespace Bench

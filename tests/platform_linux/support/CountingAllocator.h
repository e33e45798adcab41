#pragma once

/// Allocations of the whole program so far, its libraries included.
long countAllocations();

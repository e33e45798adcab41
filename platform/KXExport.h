#pragma once

/// Marks what a library shows to its users. Everything else stays hidden, so that a program may have names of
/// its own without meeting ours, and the dynamic linker has less to do at start-up.
///
/// There is one macro a library, so that a port to a system that tells import from export (and must know which
/// library is being built) has a place to say so; on ELF they are all the same.
#define KX_EXPORT __attribute__((visibility("default")))

/// Hides a member of an exported class that only the library itself calls.
#define KX_LOCAL __attribute__((visibility("hidden")))

#define KX_EVENTS_API KX_EXPORT
#define KX_OS_ABS_API KX_EXPORT
#define KX_HARDWARE_API KX_EXPORT
#define KX_UTILITY_API KX_EXPORT

#pragma once

/// Marks what a library exports. Everything else is hidden: a program may use the same names for its own, and the
/// dynamic linker has less to do at start-up.
///
/// Each library has its own macro. On ELF they are all the same. A system that distinguishes import from export
/// has to know which library is being built; its port defines them here.
#define KX_EXPORT __attribute__((visibility("default")))

/// Hides a part of an exported class that only the library itself uses.
#define KX_LOCAL __attribute__((visibility("hidden")))

#define KX_EVENTS_API KX_EXPORT    ///< of libKXAPI_Events
#define KX_OS_ABS_API KX_EXPORT    ///< of libKXAPI_OS_ABS
#define KX_HARDWARE_API KX_EXPORT  ///< of libKXAPI_Hardware
#define KX_UTILITY_API KX_EXPORT   ///< of libKXAPI_Utility
#define KX_TOOLKIT_API KX_EXPORT   ///< of libKXAPI_Toolkit
#define KX_RECORDING_API KX_EXPORT ///< of libKXAPI_Recording
#define KX_REPLAY_API KX_EXPORT    ///< of libKXAPI_Replay

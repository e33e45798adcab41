#pragma once

#include "platform/KXExport.h"

/// The version that a program is compiled with. All libraries of the project have it, and this is the only place that
/// tells it: the build reads it here.
///
/// A higher MAJOR may break programs and comes with another SONAME. A higher MINOR adds, a higher PATCH only corrects:
/// programs that were compiled with an older version go on, without being compiled again.
#define KXAPI_EVENTS_VERSION_MAJOR 1

/// See \ref KXAPI_EVENTS_VERSION_MAJOR.
#define KXAPI_EVENTS_VERSION_MINOR 0

/// See \ref KXAPI_EVENTS_VERSION_MAJOR.
#define KXAPI_EVENTS_VERSION_PATCH 0

/// A version as a number that can be compared, also by the preprocessor. MINOR and PATCH are 0 to 999.
///
///     #if KXAPI_EVENTS_VERSION >= KXAPI_EVENTS_VERSION_OF(1, 2, 0)
#define KXAPI_EVENTS_VERSION_OF(major, minor, patch) ((major)*1000000 + (minor)*1000 + (patch))

/// The same of the version that a program is compiled with: 1000000 is 1.0.0.
#define KXAPI_EVENTS_VERSION                                                                                      \
    KXAPI_EVENTS_VERSION_OF(KXAPI_EVENTS_VERSION_MAJOR, KXAPI_EVENTS_VERSION_MINOR, KXAPI_EVENTS_VERSION_PATCH)

/// For \ref KXAPI_EVENTS_VERSION_STRING.
#define KXAPI_EVENTS_QUOTED(word) #word

/// For \ref KXAPI_EVENTS_VERSION_STRING.
#define KXAPI_EVENTS_JOINED(major, minor, patch)                                                                  \
    KXAPI_EVENTS_QUOTED(major) "." KXAPI_EVENTS_QUOTED(minor) "." KXAPI_EVENTS_QUOTED(patch)

/// The same as text: "1.0.0".
#define KXAPI_EVENTS_VERSION_STRING                                                                               \
    KXAPI_EVENTS_JOINED(KXAPI_EVENTS_VERSION_MAJOR, KXAPI_EVENTS_VERSION_MINOR, KXAPI_EVENTS_VERSION_PATCH)

namespace KX {

/// The version of the library that runs, as \ref KXAPI_EVENTS_VERSION_OF writes it. It is higher than
/// \ref KXAPI_EVENTS_VERSION where the library was upgraded, and lower where a program needs a newer library.
///
/// Any thread, any time, before main too. Does not block, does not fail.
KX_EVENTS_API int getLibraryVersion();

} // namespace KX

#pragma once

#include "terminal/InputSettings.h"

/// Gives a setting to the library: to the input event manager, which exists, or to the encoder's dynamics. On the
/// thread that reports input, between two reports, as the encoder's dynamics lock nothing.
/// \return the library's status
int applyToLibrary(InputSettings::Setting setting, int value);

#pragma once

#include "platform/KXCANMessage.h" // where the class stands now; this path is kept for programs that use it

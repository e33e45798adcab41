#pragma once

#include "platform/KXCANMessage.h" // the class has moved there; programs may go on using this path

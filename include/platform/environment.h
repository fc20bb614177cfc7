#pragma once
// The process environment. Reading is the C library's getenv on every system; the platform's
// writes never free what a reader may still hold, so that reading beside writing is safe.

#include "platform/base.h"
#ifdef _WIN32
#include <stdlib.h>
#else

#include <cstdlib>

// "NAME=value" sets, "NAME=" removes; -1 for text without a name or an equals sign.
int _putenv(const char* assignment);

// Replaces each %NAME% that is set; unset names stay as they are, with their percent signs. Gives
// the size that the result needs, with its zero end; nothing is written when that is too much.
DWORD ExpandEnvironmentStringsA(const char* source, char* target, DWORD size);

#endif

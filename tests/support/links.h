// Links and FIFOs of the host's file system, as far as it has them.
#pragma once

#if defined(_WIN32)
#include "support/links_windows.h"
#else
#include "support/links_posix.h"
#endif

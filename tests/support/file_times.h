// void SetTimes(hostPath, access, write): when a file was last read and written, in steps of 100 ns
// since 1601.
#pragma once

#if defined(_WIN32)
#include "support/file_times_windows.h"
#else
#include "support/file_times_posix.h"
#endif

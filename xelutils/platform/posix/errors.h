// From the host's error numbers to the device's. The one table stands in errors.cpp.
#pragma once

#include "xelutils/platform/coredll.h"

// The device's number for a value of errno; ERROR_GEN_FAILURE for one that has no better match.
DWORD ErrorFromErrno(int hostError);

// Sets the thread's last error. Always FALSE, so that a refusal is one line.
BOOL Fail(DWORD error);
BOOL FailFromErrno(int hostError);

// How much memory the device has left.
#pragma once

#include "xelutils/export.h"

namespace MemoryFuncs {

// Available physical memory in bytes, at most 4 GiB - 1.
XELUTILS_API unsigned long GetFreeSliderMemory();

// The smaller of available physical and available virtual memory (address space), in bytes.
XELUTILS_API unsigned long GetFreeVirtMemory();

} // namespace MemoryFuncs

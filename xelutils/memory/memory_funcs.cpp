#include "xelutils/memory/memory_funcs.h"

#include <algorithm>

#include "xelutils/platform/coredll.h"

namespace MemoryFuncs {

static MEMORYSTATUS QueryStatus()
{
    MEMORYSTATUS status{};
    status.dwLength = sizeof status;
    GlobalMemoryStatus(&status);
    return status;
}

unsigned long GetFreeSliderMemory()
{
    return QueryStatus().dwAvailPhys;
}

unsigned long GetFreeVirtMemory()
{
    const MEMORYSTATUS status = QueryStatus();
    return std::min(status.dwAvailPhys, status.dwAvailVirtual);
}

} // namespace MemoryFuncs

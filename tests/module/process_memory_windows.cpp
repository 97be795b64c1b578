#include <windows.h>

#include "module/process_memory.h"

ProcessMemory CurrentMemory()
{
    MEMORYSTATUSEX status = {};
    status.dwLength = sizeof status;
    GlobalMemoryStatusEx(&status);
    return {static_cast<long long>(status.ullTotalVirtual - status.ullAvailVirtual), 0};
}

#include <fstream>
#include <malloc.h>
#include <unistd.h>

#include "module/process_memory.h"

ProcessMemory CurrentMemory()
{
    long long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return {pages * sysconf(_SC_PAGESIZE), static_cast<long long>(mallinfo2().uordblks)};
}

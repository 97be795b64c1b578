// Memory that a test takes from the host itself, beside what the platform layer hands out.
#pragma once

#include <cstddef>

#if defined(_WIN32)

#include "xelutils/platform/coredll.h"

// Readable and writable, at `place` or, for null, anywhere. Null when there is none.
inline void* MapMemory(void* place, std::size_t size)
{
    return VirtualAlloc(place, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}
inline void ForbidMemory(void* memory, std::size_t size)
{
    DWORD before;
    VirtualProtect(memory, size, PAGE_NOACCESS, &before);
}
// All that was mapped at `memory` at once.
inline void UnmapMemory(void* memory, std::size_t)
{
    VirtualFree(memory, 0, MEM_RELEASE);
}

#else

#include <sys/mman.h>

inline void* MapMemory(void* place, std::size_t size)
{
    void* const memory =
        mmap(place, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : memory;
}
inline void ForbidMemory(void* memory, std::size_t size)
{
    mprotect(memory, size, PROT_NONE);
}
inline void UnmapMemory(void* memory, std::size_t size)
{
    munmap(memory, size);
}

#endif

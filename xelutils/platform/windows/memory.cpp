#include "xelutils/platform/windows/device_calls.h"

#undef VirtualAlloc
#undef GlobalMemoryStatus

#include <algorithm>

namespace device_calls {

namespace {

constexpr std::uintptr_t kReservationStep = 0x10000;

// The widest type that all of the memory is counted in.
using Address = std::uint64_t;

constexpr Address kLimit = Address{1} << 32;

struct Range {
    Address first;
    Address end;
};

void* ToPointer(Address address)
{
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(address));
}

Address ToAddress(const void* pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer);
}

// What a program may reserve of the memory below 4 GiB.
Range UsableMemory()
{
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return {ToAddress(info.lpMinimumApplicationAddress),
            std::min(kLimit, ToAddress(info.lpMaximumApplicationAddress) + 1)};
}

// The multiples of the step inside.
Range WithinSteps(Range range)
{
    return {(range.first + kReservationStep - 1) & ~(kReservationStep - 1),
            range.end & ~(kReservationStep - 1)};
}

bool HasRoom(Range range, SIZE_T size)
{
    return range.first < range.end && range.end - range.first >= size;
}

void* TryAt(Address address, SIZE_T size, DWORD type, DWORD protect)
{
    return ::VirtualAlloc(ToPointer(address), size, type, protect);
}

// Where the gap is not as free as the system says, further on in it: another thread may have been
// quicker, and Wine does not know all that its host keeps there.
void* ReserveInside(Range gap, SIZE_T size, bool topDown, DWORD type, DWORD protect)
{
    constexpr Address kNextTry = 0x100000;
    while (HasRoom(gap, size)) {
        const Address place = topDown ? gap.end - size : gap.first;
        if (void* const reserved = TryAt(place, size, type & ~DWORD{MEM_TOP_DOWN}, protect))
            return reserved;
        if (topDown)
            gap.end -= kNextTry;
        else
            gap.first += kNextTry;
    }
    return nullptr;
}

// In the lowest or, top down, the highest gap that takes it.
void* Reserve(SIZE_T size, DWORD type, DWORD protect)
{
    const bool topDown = (type & MEM_TOP_DOWN) != 0;
    const SIZE_T wholeSize = (size + kReservationStep - 1) & ~(kReservationStep - 1);
    const Range usable = UsableMemory();
    MEMORY_BASIC_INFORMATION info;
    Address at = topDown ? usable.end - 1 : usable.first;
    while (at >= usable.first && at < usable.end &&
           VirtualQuery(ToPointer(at), &info, sizeof info) != 0) {
        const Address start =
            ToAddress(info.State == MEM_FREE ? info.BaseAddress : info.AllocationBase);
        const Address end = ToAddress(info.BaseAddress) + info.RegionSize;
        const Range gap = WithinSteps({std::max(start, usable.first), std::min(end, usable.end)});
        if (info.State == MEM_FREE) {
            if (void* const reserved = ReserveInside(gap, wholeSize, topDown, type, protect))
                return reserved;
        }
        at = topDown ? start - 1 : end;
    }
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

DWORD Saturated(DWORDLONG bytes)
{
    return static_cast<DWORD>(std::min<DWORDLONG>(bytes, 0xFFFFFFFF));
}

} // namespace

void* Allocate(void* address, SIZE_T size, DWORD type, DWORD protect)
{
    // With 32-bit pointers all memory is below. Wine there knows more room than it tells of.
    constexpr bool isAllBelow = sizeof(void*) == sizeof(DWORD);
    if (!isAllBelow && address == nullptr && size != 0 && size < kLimit)
        return Reserve(size, type | MEM_RESERVE, protect);
    return ::VirtualAlloc(address, size, type, protect);
}

void GetMemoryStatus(MemoryStatus* status)
{
    MEMORYSTATUSEX host = {};
    host.dwLength = sizeof host;
    GlobalMemoryStatusEx(&host);
    *status = {sizeof *status,
               host.dwMemoryLoad,
               Saturated(host.ullTotalPhys),
               Saturated(host.ullAvailPhys),
               Saturated(host.ullTotalPageFile),
               Saturated(host.ullAvailPageFile),
               Saturated(host.ullTotalVirtual),
               Saturated(host.ullAvailVirtual)};
}

} // namespace device_calls

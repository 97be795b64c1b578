// Reservations below 4 GiB, also in a process whose addresses have 64 bits: the heap above keeps
// its links in 32-bit words.
//
// The host offers no "below 4 GiB" on all processors, so places are tried one by one with fixed
// addresses that never replace a mapping. The table of our own reservations says which places
// are worth a try; in a plain process the first one succeeds, and reservations that follow one
// another come out adjacent.
#include "xelutils/platform/posix/virtual_memory.h"

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <unistd.h>

#include "xelutils/platform/posix/errors.h"

// Present in every kernel's ABI with this value; older C libraries do not name it.
#ifndef MAP_FIXED_NOREPLACE
#define MAP_FIXED_NOREPLACE 0x100000
#endif

namespace {

// Addresses and ends of reservations; an end can be 4 GiB, which 32 bits do not hold.
using Address = std::uint64_t;

constexpr Address kGranularity = 0x10000;
// Below it lie programs linked to a fixed address and the pages that catch null pointers.
constexpr Address kLowest = 0x10000000;
// The last 64 KiB are never handed out: an end of 4 GiB would be 0 in 32 bits.
constexpr Address kEnd = 0x100000000 - kGranularity;
// How far to go on from a place that something else occupies.
constexpr Address kSearchStep = 0x100000;
// The kernel keeps this much below the main thread's stack free for it to grow into.
constexpr Address kStackRoom = 0x8000000;
constexpr std::size_t kMaxReservations = 4096;

struct Reservation {
    Address base;
    Address size;
    bool committed;

    Address End() const { return base + size; }
};

struct Reservations {
    std::mutex lock;
    // Sorted by address, disjoint.
    Reservation entries[kMaxReservations];
    std::size_t count;
    Address bytes;
    // Memory of others at either end of the range is not tried again before the range is full.
    Address lowest;
    Address end;
};

constinit Reservations g_reservations{};

Address PageSize()
{
    static const Address size = static_cast<Address>(sysconf(_SC_PAGESIZE));
    return size;
}

Address RoundUp(Address value, Address unit)
{
    return (value + unit - 1) / unit * unit;
}

Address RoundDown(Address value, Address unit)
{
    return value / unit * unit;
}

// Whether the main thread's stack has a part of [base, base + size) or may grow into it. It is
// below 4 GiB only in 32-bit processes. The kernel stores the program's name at its very end.
bool MeetsStack(Address base, Address size)
{
    if constexpr (sizeof(void*) > 4)
        return false;
    const Address stackEnd = getauxval(AT_EXECFN);
    return base < stackEnd && base + size + kStackRoom > stackEnd;
}

void* Pointer(Address address)
{
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(address));
}

// Sizes never exceed that of the range, which every host's words hold.
std::size_t Bytes(Address size)
{
    return static_cast<std::size_t>(size);
}

Address AddressOf(const void* pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer);
}

// Takes [base, base + size) if nothing is there.
bool Occupy(Address base, Address size)
{
    if (MeetsStack(base, size))
        return false;
    constexpr int kFlags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED_NOREPLACE;
    void* const place = mmap(Pointer(base), Bytes(size), PROT_NONE, kFlags, -1, 0);
    if (place == MAP_FAILED)
        return false;
    if (place == Pointer(base))
        return true;
    // A kernel that does not know the flag takes the address for a wish.
    munmap(place, Bytes(size));
    return false;
}

// The gap in front of entry `index` (behind the last one for index == count), as far as it lies
// in the range.
struct Gap {
    Address start;
    Address end;
};

Gap GapBefore(const Reservations& table, std::size_t index)
{
    const Address start = index == 0 ? 0 : table.entries[index - 1].End();
    const Address end = index == table.count ? kEnd : table.entries[index].base;
    return {std::max(RoundUp(start, kGranularity), table.lowest), std::min(end, table.end)};
}

// These return the address that was taken, or 0; `index` is where it belongs in the table.
Address OccupyLowest(Reservations& table, Address size, std::size_t& index)
{
    for (index = 0; index <= table.count; ++index) {
        const Gap gap = GapBefore(table, index);
        const bool outermost = gap.start == table.lowest;
        for (Address base = gap.start; base + size <= gap.end; base += kSearchStep) {
            if (outermost)
                table.lowest = base;
            if (Occupy(base, size))
                return base;
        }
    }
    return 0;
}

Address OccupyHighest(Reservations& table, Address size, std::size_t& index)
{
    index = table.count + 1;
    while (index-- > 0) {
        const Gap gap = GapBefore(table, index);
        const bool outermost = gap.end == table.end;
        Address end = gap.end;
        while (end >= gap.start + size) {
            if (outermost)
                table.end = end;
            const Address base = RoundDown(end - size, kGranularity);
            if (Occupy(base, size))
                return base;
            end -= kSearchStep;
        }
    }
    return 0;
}

void* Reserve(Address size, bool topDown)
{
    Reservations& table = g_reservations;
    const std::lock_guard guard(table.lock);
    if (table.count == kMaxReservations)
        return nullptr;

    std::size_t index = 0;
    const auto occupy = topDown ? OccupyHighest : OccupyLowest;
    Address base = table.end == 0 ? 0 : occupy(table, size, index);
    if (base == 0) {
        // Also the first call: the bounds are still unset.
        table.lowest = kLowest;
        table.end = kEnd;
        base = occupy(table, size, index);
    }
    if (base == 0)
        return nullptr;

    Reservation* const place = table.entries + index;
    std::copy_backward(place, table.entries + table.count, table.entries + table.count + 1);
    *place = {base, size, false};
    ++table.count;
    table.bytes += size;
    return Pointer(base);
}

// The reservation that holds `address`, or null. The lock is held.
Reservation* Find(Reservations& table, Address address)
{
    Reservation* const last = table.entries + table.count;
    Reservation* const behind = std::upper_bound(
        table.entries, last, address,
        [](Address wanted, const Reservation& entry) { return wanted < entry.base; });
    if (behind == table.entries || address >= behind[-1].End())
        return nullptr;
    return behind - 1;
}

void* Commit(void* address, Address size)
{
    Reservations& table = g_reservations;
    const std::lock_guard guard(table.lock);
    Reservation* const entry = Find(table, AddressOf(address));
    if (entry == nullptr || entry->base != AddressOf(address) || entry->size != size) {
        Fail(ERROR_INVALID_ADDRESS);
        return nullptr;
    }
    if (mprotect(address, Bytes(size), PROT_READ | PROT_WRITE) != 0) {
        Fail(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    entry->committed = true;
    return address;
}

} // namespace

void* VirtualAlloc(void* address, SIZE_T size, DWORD type, DWORD protect)
{
    const bool reserve =
        (type & ~MEM_TOP_DOWN) == MEM_RESERVE && protect == PAGE_NOACCESS && address == nullptr;
    const bool commit = type == MEM_COMMIT && protect == PAGE_READWRITE;
    if (size == 0 || (!reserve && !commit)) {
        Fail(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const Address bytes = size <= kEnd ? RoundUp(size, PageSize()) : kEnd;
    if (commit)
        return Commit(address, bytes);
    void* const base = Reserve(bytes, (type & MEM_TOP_DOWN) != 0);
    if (base == nullptr)
        Fail(ERROR_NOT_ENOUGH_MEMORY);
    return base;
}

SIZE_T VirtualQuery(const void* address, MEMORY_BASIC_INFORMATION* info, SIZE_T length)
{
    const std::lock_guard guard(g_reservations.lock);
    const Reservation* const entry = Find(g_reservations, AddressOf(address));
    if (entry == nullptr || length < sizeof *info) {
        Fail(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const Address page = RoundDown(AddressOf(address), PageSize());
    info->BaseAddress = Pointer(page);
    info->AllocationBase = Pointer(entry->base);
    info->AllocationProtect = PAGE_NOACCESS;
    info->RegionSize = Bytes(entry->End() - page);
    info->State = entry->committed ? MEM_COMMIT : MEM_RESERVE;
    info->Protect = entry->committed ? PAGE_READWRITE : 0;
    info->Type = MEM_PRIVATE;
    return sizeof *info;
}

BOOL VirtualFree(void* address, SIZE_T size, DWORD type)
{
    if (size != 0 || type != MEM_RELEASE)
        return Fail(ERROR_INVALID_PARAMETER);
    Reservations& table = g_reservations;
    const std::lock_guard guard(table.lock);
    Reservation* const entry = Find(table, AddressOf(address));
    if (entry == nullptr || entry->base != AddressOf(address))
        return Fail(ERROR_INVALID_ADDRESS);
    if (munmap(address, Bytes(entry->size)) != 0)
        return FailFromErrno(errno);
    table.bytes -= entry->size;
    std::copy(entry + 1, table.entries + table.count, entry);
    --table.count;
    return TRUE;
}

void GetSystemInfo(SYSTEM_INFO* info)
{
    info->dwPageSize = static_cast<DWORD>(PageSize());
    info->lpMinimumApplicationAddress = Pointer(kLowest);
    info->lpMaximumApplicationAddress = Pointer(kEnd - 1);
    // The host may report -1 for what it does not know.
    info->dwNumberOfProcessors = static_cast<DWORD>(std::max(1L, sysconf(_SC_NPROCESSORS_ONLN)));
    info->dwAllocationGranularity = static_cast<DWORD>(kGranularity);
}

std::uint64_t ReservableBytes()
{
    return kEnd - kLowest;
}

std::uint64_t ReservedBytes()
{
    const std::lock_guard guard(g_reservations.lock);
    return g_reservations.bytes;
}

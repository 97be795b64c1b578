// The heap's parameters, its lock, its source of system memory, and its statistics.
#include "xelutils/memory/internal/bins.h"

namespace xel_heap {

constinit HeapParameters g_parameters{};

namespace {

constexpr word kMagic = 0x58585858;
constexpr word kMmapThreshold = 0x40000;
constexpr word kTrimThreshold = 0x200000;
constexpr word kDefaultFlags = kUseDirectMapping | kUseLock | kNonContiguous;
constexpr word kNeverTrim = 0xFFFFFFFF;
constexpr DWORD kLockRetryMs = 10;

constinit LONG g_initialisationLock = 0;

// The smallest multiple of the granularity above `size` + `extra`, modulo 2^32: at most `size`
// when it does not fit.
word MappingSizeAbove(word size, word extra)
{
    const word granularity = g_parameters.granularity;
    return (size + extra + granularity) & ~(granularity - 1);
}

} // namespace

// ---- Parameters and lock -------------------------------------------------------------------

void InitialiseParameters()
{
    SYSTEM_INFO info{};
    AcquireLock(g_initialisationLock);
    if (g_parameters.magic == 0) {
        g_parameters.granularity = kGranularity;
        g_parameters.mmapThreshold = kMmapThreshold;
        g_parameters.trimThreshold = kTrimThreshold;
        g_parameters.defaultFlags = kDefaultFlags;
        g_parameters.magic = kMagic;
        g_heap.flags = kDefaultFlags;
        g_heap.mutex = 0;
    }
    ReleaseLock(g_initialisationLock);
    GetSystemInfo(&info);
    g_parameters.pageSize.store(info.dwPageSize, std::memory_order_release);
}

void AcquireContendedLock(LONG& lock)
{
    do
        Sleep(kLockRetryMs);
    while (InterlockedCompareExchange(&lock, 1, 0) != 0);
}

// ---- Mapping primitives --------------------------------------------------------------------

Chunk* ObtainMapping(word size, bool topDown)
{
    const DWORD type = topDown ? MEM_RESERVE | MEM_TOP_DOWN : MEM_RESERVE;
    void* const reserved = VirtualAlloc(nullptr, size, type, PAGE_NOACCESS);
    if (!reserved)
        return nullptr;
    void* const committed = VirtualAlloc(reserved, size, MEM_COMMIT, PAGE_READWRITE);
    if (!committed)
        VirtualFree(reserved, 0, MEM_RELEASE);
    return static_cast<Chunk*>(committed);
}

bool ReleaseMapping(void* address, word size)
{
    // All reservations are looked at before the first is released.
    MEMORY_BASIC_INFORMATION info;
    auto* position = static_cast<unsigned char*>(address);
    for (word left = size; left != 0;) {
        if (VirtualQuery(position, &info, sizeof info) == 0 || info.BaseAddress != position ||
            info.AllocationBase != position || info.State != MEM_COMMIT || info.RegionSize > left)
            return false;
        position += info.RegionSize;
        left -= static_cast<word>(info.RegionSize);
    }
    position = static_cast<unsigned char*>(address);
    for (word left = size; left != 0;) {
        if (VirtualQuery(position, &info, sizeof info) == 0 ||
            !VirtualFree(position, 0, MEM_RELEASE))
            return false;
        position += info.RegionSize;
        left -= static_cast<word>(info.RegionSize);
    }
    return true;
}

// ---- Growing -------------------------------------------------------------------------------

void* Heap::AllocateFromSystem(word size)
{
    if ((flags & kUseDirectMapping) && size >= g_parameters.mmapThreshold) {
        if (void* const block = MapDirectly(size))
            return block;
    }

    const word segmentSize = MappingSizeAbove(size, kTopFoot + 1);
    if (segmentSize <= size)
        return nullptr;
    Chunk* const base = ObtainMapping(segmentSize, false);
    if (!base)
        return nullptr;
    NoteObtained(base, segmentSize);

    if (!top) {
        segment = {base, segmentSize, nullptr, Segment::kMapped};
        magic = g_parameters.magic;
        SetTop(base, segmentSize - kTopFoot);
        return CarveFromTop(size);
    }

    Segment* const topSegment = FindSegmentHolding(top);
    if (topSegment && topSegment->IsReleasable() && topSegment->End() == base) {
        topSegment->size += segmentSize;
        SetTop(top, topSize + segmentSize);
    } else {
        Segment* above = &segment;
        while (above && !(above->IsReleasable() && above->base == base->At(segmentSize)))
            above = above->next;
        if (above) {
            Chunk* const oldBase = above->base;
            above->base = base;
            above->size += segmentSize;
            return PrependAndCarve(base, oldBase, size);
        }
        AddSegment(base, segmentSize);
    }
    return size < topSize ? CarveFromTop(size) : nullptr;
}

void* Heap::MapDirectly(word size)
{
    const word mappingSize = MappingSizeAbove(size, 31);
    if (mappingSize <= size)
        return nullptr;
    Chunk* const chunk = ObtainMapping(mappingSize, true);
    if (!chunk)
        return nullptr;
    NoteObtained(chunk, mappingSize);

    const word chunkSize = mappingSize - kMinChunkSize;
    chunk->prevFoot = kMappedBit; // at distance 0 from the start of its mapping
    chunk->head = chunkSize | kInUse;
    chunk->At(chunkSize)->head = kFencepost;
    chunk->At(chunkSize + sizeof(word))->head = 0;
    return chunk->Block();
}

void Heap::NoteObtained(Chunk* base, word size)
{
    if (!leastAddress || base < leastAddress)
        leastAddress = base;
    MarkOwned(base, size, true);
    footprint += size;
    if (footprint > maxFootprint)
        maxFootprint = footprint;
}

bool Heap::GiveBack(Chunk* base, word size)
{
    if (!ReleaseMapping(base, size))
        return false;
    MarkOwned(base, size, false);
    footprint -= size;
    return true;
}

void Heap::MarkOwned(Chunk* base, word size, bool owned)
{
    const auto first = reinterpret_cast<std::uintptr_t>(base) >> kUnitShift;
    for (std::uintptr_t unit = first; unit < first + (size >> kUnitShift); ++unit) {
        const std::uint32_t bit = std::uint32_t{1} << (unit % 32);
        std::uint32_t& bits = ownedUnits[unit / 32];
        bits = owned ? bits | bit : bits & ~bit;
    }
}

void Heap::SetTop(Chunk* chunk, word size)
{
    top = chunk;
    topSize = size;
    chunk->head = size | kPrevInUse;
    chunk->At(size)->head = kTopFoot;
    trimCheck = g_parameters.trimThreshold;
}

// The new memory lies directly in front of a segment, whose first chunk was at `oldBase`.
void* Heap::PrependAndCarve(Chunk* base, Chunk* oldBase, word size)
{
    const auto distance = static_cast<word>(reinterpret_cast<std::uintptr_t>(oldBase) -
                                            reinterpret_cast<std::uintptr_t>(base));
    Chunk* const remainder = base->At(size);
    word rest = distance - size;
    base->SetInUse(size);

    if (oldBase == top) {
        top = remainder;
        topSize += rest;
        remainder->head = topSize | kPrevInUse;
    } else if (oldBase == dv) {
        dv = remainder;
        dvSize += rest;
        remainder->SetFree(dvSize);
    } else {
        Chunk* next = oldBase;
        if (!oldBase->InUse()) {
            const word oldSize = oldBase->Size();
            UnlinkChunk(oldBase, oldSize);
            rest += oldSize;
            next = oldBase->At(oldSize);
        }
        remainder->SetFreeAndTellNext(rest, next);
        InsertChunk(remainder, rest);
    }
    return base->Block();
}

// The new memory becomes the top. The end of the old top takes the record of its segment:
//
//   | rest of the old top, free | record chunk, 24 | 7 | 7 | 7 |  end of the old segment
void Heap::AddSegment(Chunk* base, word size)
{
    Chunk* const oldTop = top;
    const Segment old = segment;
    Chunk* const oldEnd = FindSegmentHolding(oldTop)->End();
    Chunk* const usualPlace = oldEnd->Before(kTopFoot);
    // A rest too small for a chunk is left to the fenceposts.
    Chunk* const record = usualPlace < oldTop->At(kMinChunkSize) ? oldTop : usualPlace;

    SetTop(base, size - kTopFoot);

    record->SetInUse(kRecordChunkSize);
    auto* const copy = static_cast<Segment*>(record->Block());
    *copy = old;
    segment = {base, size, copy, Segment::kMapped};
    for (Chunk* post = record->At(kRecordChunkSize); post->At(sizeof(word)) < oldEnd;
         post = post->At(sizeof(word)))
        post->head = kFencepost;

    if (record != oldTop) {
        const auto rest = static_cast<word>(reinterpret_cast<std::uintptr_t>(record) -
                                            reinterpret_cast<std::uintptr_t>(oldTop));
        oldTop->SetFreeAndTellNext(rest, record);
        InsertChunk(oldTop, rest);
    }
}

Segment* Heap::FindSegmentHolding(const void* address)
{
    for (Segment* record = &segment; record; record = record->next) {
        if (record->Holds(address))
            return record;
    }
    return nullptr;
}

bool Heap::HasRecordInside(const Segment& outer) const
{
    for (const Segment* record = &segment; record; record = record->next) {
        if (outer.Holds(record))
            return true;
    }
    return false;
}

// ---- Giving back ---------------------------------------------------------------------------

bool Heap::Trim(word pad)
{
    if (pad >= kRequestLimit || !top)
        return false;
    word released = TrimTop(pad);
    released += ReleaseUnusedSegments();
    if (released == 0)
        trimCheck = kNeverTrim;
    return released != 0;
}

// Gives back the end of the top's segment; returns the number of bytes released.
word Heap::TrimTop(word pad)
{
    pad += kTopFoot;
    if (topSize <= pad)
        return 0;
    const word granularity = g_parameters.granularity;
    const word extra = ((topSize - pad + granularity - 1) / granularity - 1) * granularity;
    Segment* const holder = FindSegmentHolding(top);
    if (extra == 0 || !holder || !holder->IsReleasable() || holder->size < extra ||
        HasRecordInside(*holder))
        return 0;
    if (!GiveBack(holder->base->At(holder->size - extra), extra))
        return 0;
    holder->size -= extra;
    SetTop(top, topSize - extra);
    return extra;
}

// Gives back segments in which nothing is in use, the newest one excepted; returns the number of
// bytes released.
word Heap::ReleaseUnusedSegments()
{
    word released = 0;
    Segment* previous = &segment;
    for (Segment* record = previous->next; record;) {
        Chunk* const base = record->base;
        const word size = record->size;
        Segment* const next = record->next;
        Chunk* const chunk = base;
        const word chunkSize = chunk->Size();
        if (record->IsReleasable() && !chunk->InUse() && chunkSize >= size - kTopFoot) {
            if (chunk == dv) {
                dv = nullptr;
                dvSize = 0;
            } else {
                UnlinkChunk(chunk, chunkSize);
            }
            if (GiveBack(base, size)) {
                released += size;
                // The record itself is gone with its segment.
                previous->next = next;
                record = next;
                continue;
            }
            InsertChunk(chunk, chunkSize);
        }
        previous = record;
        record = next;
    }
    return released;
}

// ---- Statistics ----------------------------------------------------------------------------

HeapStatistics Heap::Statistics()
{
    HeapLock lock(*this);
    if (!top)
        return {};
    // Chunks that are mapped by themselves are in no segment and so count as used.
    word used = footprint - (topSize + kTopFoot);
    for (Segment* record = &segment; record; record = record->next) {
        for (Chunk* chunk = record->base;
             record->Holds(chunk) && chunk != top && chunk->head != kFencepost;
             chunk = chunk->Next()) {
            if (!chunk->InUse())
                used -= chunk->Size();
        }
    }
    return {maxFootprint, footprint, used};
}

void PrintStatistics()
{
    EnsureInitialised();
    const HeapStatistics statistics = g_heap.Statistics();
    FILE* const out = _getstdfilex(2);
    const auto wide = [](word value) { return static_cast<unsigned long>(value); };
    std::fprintf(out, "max system bytes = %10lu\n", wide(statistics.maxSystemBytes));
    std::fprintf(out, "system bytes     = %10lu\n", wide(statistics.systemBytes));
    std::fprintf(out, "in use bytes     = %10lu\n", wide(statistics.inUseBytes));
}

} // namespace xel_heap

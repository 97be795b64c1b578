// The heap's state and its parts: blocks (dlmalloc.cpp), bins (bins.h), system memory
// (system_memory.cpp).
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>

#include "xelutils/memory/internal/chunk.h"
#include "xelutils/platform/coredll.h"

namespace xel_heap {

// Set once by the first call of any entry point, never changed afterwards.
struct HeapParameters {
    // 0x58585858; 0 while not set.
    word magic;
    // Bytes of the system's pages. Written last: 0 means that nothing is set yet.
    std::atomic<word> pageSize;
    // System memory is obtained in multiples of this.
    word granularity;
    // Chunks from this size on get a mapping of their own.
    word mmapThreshold;
    word trimThreshold;
    word defaultFlags;
};
extern HeapParameters g_parameters;

constexpr word kUseDirectMapping = 1;
constexpr word kUseLock = 2;
constexpr word kNonContiguous = 4;

constexpr word kGranularity = 0x400000;

// A piece of memory obtained for chunks. The newest record stands in the heap's state, each older
// one in a chunk at the end of the segment it describes.
struct [[gnu::may_alias]] Segment {
    heap_ptr<Chunk> base;
    word size;
    heap_ptr<Segment> next;
    word flags;

    bool Holds(const void* address) const
    {
        const auto start = reinterpret_cast<std::uintptr_t>(static_cast<Chunk*>(base));
        return reinterpret_cast<std::uintptr_t>(address) - start < size;
    }
    Chunk* End() { return base->At(size); }
    // Obtained by the mapping primitive and our own.
    bool IsReleasable() const { return (flags & (kMapped | kExternal)) == kMapped; }

    static constexpr word kMapped = 1;
    static constexpr word kExternal = 8;
};
static_assert(sizeof(Segment) == 16);

// The chunk for a segment record.
constexpr word kRecordChunkSize = 24;
// Room behind the top chunk of every segment, for its record and fenceposts.
constexpr word kTopFoot = 40;

struct HeapStatistics {
    word maxSystemBytes;
    word systemBytes;
    word inUseBytes;
};

// All bytes zero is the state before the first call.
struct Heap {
    static constexpr word kSmallBins = 32;
    static constexpr word kTreeBins = 32;
    // From kMinLargeSize on, in steps of the alignment: up to 2296.
    static constexpr word kIndexedSizes = 256;
    static constexpr word kUnits = 0x10000;
    static constexpr word kUnitShift = 16;

    // Bit i: bin i is not empty.
    word smallMap = 0;
    word treeMap = 0;
    // The designated victim: what the last split of a small request left. In no bin.
    word dvSize = 0;
    // The free space at the end of the newest segment. In no bin; its kPrevInUse is always set.
    word topSize = 0;
    // The lowest address ever obtained from the system; null before the first. A chunk below it is
    // none of ours.
    Chunk* leastAddress = nullptr;
    Chunk* dv = nullptr;
    Chunk* top = nullptr;
    // A top larger than this is trimmed when memory is freed into it.
    word trimCheck = 0;
    word magic = 0;
    // The first chunk of each list; bin i holds chunks of exactly 8 * i bytes.
    heap_ptr<Chunk> smallBins[kSmallBins] = {};
    heap_ptr<TreeChunk> treeBins[kTreeBins] = {};
    // The tree nodes of the sizes that programs use most, each directly under its size, with a bit
    // for those that exist: what a walk down a trie would find, found without touching the chunks
    // on the way.
    heap_ptr<TreeChunk> nodeOfSize[kIndexedSizes] = {};
    std::uint64_t nodeMap[kIndexedSizes / 64] = {};
    // One bit for each 64 KiB of the 4 GiB below which the heap lies: memory obtained and not given
    // back. Tells a block that was freed with its segment before anything of it is read.
    std::uint32_t ownedUnits[kUnits / 32] = {};
    // Bytes obtained from the system, now and at most.
    word footprint = 0;
    word maxFootprint = 0;
    word flags = 0;
    LONG mutex = 0;
    Segment segment = {};

    // ---- Blocks ----

    void* Allocate(word request);
    void* AllocateZeroed(word count, word size);
    void* Reallocate(void* block, word request);
    void Free(void* block);
    HeapStatistics Statistics();

    // The same two, compiled into the process's entry points: a call less is a tenth of their time.
    [[gnu::always_inline]] void* AllocateInline(word request);
    [[gnu::always_inline]] void FreeInline(void* block);

    // ---- Parts; the lock is held ----

    [[gnu::always_inline]] void* AllocateSmall(word size);
    void* AllocateLarge(word size);
    void* AllocateFromTree(word size);
    void* CarveFromVictim(word size);
    void* CarveFromTop(word size);
    void FreeChunk(Chunk* chunk);
    void FreeMapped(Chunk* chunk);
    // The chunk resized where it lies, or null. What a shrunk chunk leaves over goes to `excess`
    // as a block in use.
    Chunk* ResizeInPlace(Chunk* chunk, word size, void*& excess);
    bool IsOwnChunkInUse(Chunk* chunk) const;
    // False too for addresses beyond 4 GiB.
    bool Owns(const void* address) const
    {
        const auto unit = reinterpret_cast<std::uintptr_t>(address) >> kUnitShift;
        return unit < kUnits && ((ownedUnits[unit / 32] >> (unit % 32)) & 1) != 0;
    }
    bool IsAtOrAboveLeast(const void* address) const { return address >= leastAddress; }

    // ---- Bins ----

    void InsertChunk(Chunk* chunk, word size);
    void UnlinkChunk(Chunk* chunk, word size);
    void InsertSmall(Chunk* chunk, word size);
    void UnlinkSmall(Chunk* chunk, word size);
    void InsertLarge(TreeChunk* chunk, word size);
    void UnlinkLarge(TreeChunk* chunk);
    void InsertIntoRing(TreeChunk* node, TreeChunk* chunk);
    Chunk* TakeFirstSmall(word bin);
    void ReplaceVictim(Chunk* chunk, word size);
    // The smallest chunk of the subtree of `node` with at least `size` bytes, if its rest beats
    // `rest`.
    static TreeChunk* BestIn(TreeChunk* node, word size, TreeChunk* best, word& rest);
    TreeChunk* FindBestFit(word size, word& rest);
    // The node of the smallest indexed size from `size` on; null when there is none.
    TreeChunk* FindIndexed(word size) const;
    void SetNodeOfSize(word size, TreeChunk* node);

    // ---- System memory ----

    void* AllocateFromSystem(word size);
    void* MapDirectly(word size);
    void AddSegment(Chunk* base, word size);
    void* PrependAndCarve(Chunk* base, Chunk* oldBase, word size);
    Segment* FindSegmentHolding(const void* address);
    bool HasRecordInside(const Segment& outer) const;
    void SetTop(Chunk* chunk, word size);
    void NoteObtained(Chunk* base, word size);
    // Gives memory back; false when the system refuses, and it is still the heap's.
    bool GiveBack(Chunk* base, word size);
    void MarkOwned(Chunk* base, word size, bool owned);
    // True when anything was given back.
    bool Trim(word pad);
    word TrimTop(word pad);
    word ReleaseUnusedSegments();
};

// Initialises the parameters and the flags of the process's heap, once, before any lock is taken.
void InitialiseParameters();

inline void EnsureInitialised()
{
    if (g_parameters.pageSize.load(std::memory_order_acquire) == 0) [[unlikely]]
        InitialiseParameters();
}

// The process's one heap.
extern Heap g_heap;

// A word that is 1 while somebody holds it. There is no owner: a thread that takes it twice waits
// for ever.
void AcquireContendedLock(LONG& lock);

inline void AcquireLock(LONG& lock)
{
    if (InterlockedCompareExchange(&lock, 1, 0) != 0) [[unlikely]]
        AcquireContendedLock(lock);
}
inline void ReleaseLock(LONG& lock)
{
    InterlockedExchange(&lock, 0);
}

class HeapLock {
public:
    explicit HeapLock(Heap& heap) : m_heap(heap), m_locked((heap.flags & kUseLock) != 0)
    {
        if (m_locked)
            AcquireLock(m_heap.mutex);
    }
    ~HeapLock()
    {
        if (m_locked)
            ReleaseLock(m_heap.mutex);
    }
    HeapLock(const HeapLock&) = delete;
    HeapLock& operator=(const HeapLock&) = delete;

private:
    Heap& m_heap;
    bool m_locked;
};

// Gives `size` bytes from `address` on back to the system, if they are whole reservations; else
// nothing is released. True on success.
bool ReleaseMapping(void* address, word size);

// `size` bytes of committed memory, or null; `topDown` as far up as possible.
Chunk* ObtainMapping(word size, bool topDown);

// Three lines about the process's heap on the standard error stream; a diagnostic of our own.
void PrintStatistics();

} // namespace xel_heap

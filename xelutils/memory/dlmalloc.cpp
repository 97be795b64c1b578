#include "xelutils/memory/dlmalloc.h"

#include <cstring>

#include "xelutils/memory/internal/bins.h"

namespace xel_heap {

constinit Heap g_heap;

// ---- Allocation ----------------------------------------------------------------------------

inline void* Heap::AllocateInline(word request)
{
    HeapLock lock(*this);
    if (request <= kMaxSmallRequest)
        return AllocateSmall(ChunkSizeFor(request));
    // A size that no source can satisfy stands for what is too large.
    return AllocateLarge(request < kRequestLimit ? ChunkSizeFor(request) : kNoSize);
}

inline void* Heap::AllocateSmall(word size)
{
    word bin = SmallBinOf(size);
    const word bins = smallMap >> bin;
    if (bins & 3) {
        // The exact bin or the one 8 above it: handed out whole.
        bin += ~bins & 1;
        Chunk* const chunk = TakeFirstSmall(bin);
        chunk->SetInUseAndTellNext(bin << 3);
        return chunk->Block();
    }
    if (size <= dvSize)
        return CarveFromVictim(size);
    if (bins) {
        bin += LowestBin(bins);
        Chunk* const chunk = TakeFirstSmall(bin);
        const word rest = (bin << 3) - size;
        chunk->SetInUse(size);
        Chunk* const remainder = chunk->At(size);
        remainder->SetFree(rest);
        ReplaceVictim(remainder, rest);
        return chunk->Block();
    }
    if (treeMap)
        return AllocateFromTree(size);
    if (size < topSize)
        return CarveFromTop(size);
    return AllocateFromSystem(size);
}

// A small chunk out of the smallest large one.
void* Heap::AllocateFromTree(word size)
{
    word rest = kNoSize;
    TreeChunk* chunk = FindIndexed(kMinLargeSize);
    if (chunk)
        rest = chunk->Size() - size;
    else
        chunk = BestIn(treeBins[LowestBin(treeMap)], size, nullptr, rest);
    UnlinkLarge(chunk);
    if (rest < kMinChunkSize) {
        chunk->SetInUseAndTellNext(size + rest);
        return chunk->Block();
    }
    chunk->SetInUse(size);
    Chunk* const remainder = chunk->At(size);
    remainder->SetFree(rest);
    ReplaceVictim(remainder, rest);
    return chunk->Block();
}

void* Heap::AllocateLarge(word size)
{
    if (treeMap && size != kNoSize) {
        word rest;
        TreeChunk* const chunk = FindBestFit(size, rest);
        // Wraps around when the victim is too small, so that any fit wins then.
        if (chunk && rest < dvSize - size) {
            UnlinkLarge(chunk);
            if (rest < kMinChunkSize) {
                chunk->SetInUseAndTellNext(size + rest);
            } else {
                chunk->SetInUse(size);
                Chunk* const remainder = chunk->At(size);
                remainder->SetFree(rest);
                InsertChunk(remainder, rest);
            }
            return chunk->Block();
        }
    }
    if (size <= dvSize)
        return CarveFromVictim(size);
    if (size < topSize)
        return CarveFromTop(size);
    return AllocateFromSystem(size);
}

// ---- Free ----------------------------------------------------------------------------------

// Cheap signs that `chunk` is no chunk in use of this heap. They cannot find everything.
inline bool Heap::IsOwnChunkInUse(Chunk* chunk) const
{
    if (reinterpret_cast<std::uintptr_t>(chunk) % kAlignment != 0 || !IsAtOrAboveLeast(chunk) ||
        !Owns(chunk) || !chunk->InUse() || chunk->Size() < kMinChunkSize)
        return false;
    Chunk* const next = chunk->Next();
    if (!Owns(next))
        return false;
    return next > chunk && (chunk->IsMapped() || next->PrevInUse());
}

inline void Heap::FreeInline(void* block)
{
    if (!block)
        return;
    HeapLock lock(*this);
    Chunk* const chunk = ChunkOf(block);
    if (IsOwnChunkInUse(chunk))
        FreeChunk(chunk);
}

inline void Heap::FreeChunk(Chunk* chunk)
{
    word size = chunk->Size();
    Chunk* const next = chunk->At(size);

    if (!chunk->PrevInUse()) {
        if (chunk->IsMapped()) {
            FreeMapped(chunk);
            return;
        }
        const word previousSize = chunk->prevFoot;
        Chunk* const previous = chunk->Before(previousSize);
        if (previous >= chunk || !IsAtOrAboveLeast(previous))
            return;
        // The head ends up inside the merged chunk; cleared, it gives a second free away.
        chunk->head = 0;
        chunk = previous;
        size += previousSize;
        if (chunk != dv) {
            UnlinkChunk(chunk, previousSize);
        } else if (next->InUse()) {
            dvSize = size;
            chunk->SetFreeAndTellNext(size, next);
            return;
        }
    }

    if (!next->InUse()) {
        if (next == top) {
            topSize += size;
            top = chunk;
            chunk->head = topSize | kPrevInUse;
            if (chunk == dv) {
                dv = nullptr;
                dvSize = 0;
            }
            if (topSize > trimCheck) [[unlikely]]
                Trim(0);
            return;
        }
        if (next == dv) {
            dvSize += size;
            dv = chunk;
            chunk->SetFree(dvSize);
            return;
        }
        const word nextSize = next->Size();
        UnlinkChunk(next, nextSize);
        size += nextSize;
        chunk->SetFree(size);
        if (chunk == dv) {
            dvSize = size;
            return;
        }
    } else {
        chunk->SetFreeAndTellNext(size, next);
    }
    InsertChunk(chunk, size);
}

void Heap::FreeMapped(Chunk* chunk)
{
    const word offset = chunk->prevFoot & ~kMappedBit;
    const word size = offset + chunk->Size() + kMinChunkSize;
    // When the system refuses, the block stays the heap's, and lost.
    GiveBack(chunk->Before(offset), size);
}

void* Heap::Allocate(word request)
{
    return AllocateInline(request);
}

void Heap::Free(void* block)
{
    FreeInline(block);
}

// ---- Resizing ------------------------------------------------------------------------------

Chunk* Heap::ResizeInPlace(Chunk* chunk, word size, void*& excess)
{
    const word oldSize = chunk->Size();
    if (chunk->IsMapped()) {
        // Kept while the waste stays below two mappings.
        const bool fits = size >= kMinLargeSize && oldSize >= size + kOverhead &&
                          oldSize - size <= 2 * kGranularity;
        return fits ? chunk : nullptr;
    }
    if (oldSize >= size) {
        const word rest = oldSize - size;
        if (rest >= kMinChunkSize) {
            chunk->head = size | (chunk->head & kPrevInUse) | kInUse;
            Chunk* const remainder = chunk->At(size);
            remainder->SetInUseAndTellNext(rest);
            excess = remainder->Block();
        }
        return chunk;
    }
    if (chunk->At(oldSize) == top && oldSize + topSize > size) {
        topSize = oldSize + topSize - size;
        chunk->head = size | (chunk->head & kPrevInUse) | kInUse;
        top = chunk->At(size);
        top->head = topSize | kPrevInUse;
        return chunk;
    }
    return nullptr;
}

void* Heap::Reallocate(void* block, word request)
{
    if (!block)
        return Allocate(request);
    if (request >= kRequestLimit)
        return nullptr;

    void* excess = nullptr;
    word usable = 0;
    {
        HeapLock lock(*this);
        Chunk* const chunk = ChunkOf(block);
        if (!IsOwnChunkInUse(chunk))
            return nullptr;
        if (!ResizeInPlace(chunk, ChunkSizeFor(request), excess))
            usable = chunk->UsableSize();
    }
    if (usable == 0) {
        if (excess)
            Free(excess);
        return block;
    }
    void* const moved = Allocate(request);
    if (moved) {
        std::memcpy(moved, block, usable < request ? usable : request);
        Free(block);
    }
    return moved;
}

void* Heap::AllocateZeroed(word count, word size)
{
    word request = count * size;
    if (count != 0 && ((count | size) & 0xFFFF0000) != 0 && request / count != size)
        request = kNoSize;
    void* const block = Allocate(request);
    if (block)
        std::memset(block, 0, request);
    return block;
}

} // namespace xel_heap

// ---- Entry points --------------------------------------------------------------------------

using namespace xel_heap;

void* dlmalloc(std::uint32_t size)
{
    EnsureInitialised();
    return g_heap.AllocateInline(size);
}

void dlfree(void* block)
{
    EnsureInitialised();
    g_heap.FreeInline(block);
}

void* dlcalloc(std::uint32_t count, std::uint32_t size)
{
    EnsureInitialised();
    return g_heap.AllocateZeroed(count, size);
}

void* dlrealloc(void* block, std::uint32_t size)
{
    EnsureInitialised();
    return g_heap.Reallocate(block, size);
}

void dlmalloc_stats2(std::uint32_t* maxSystemBytes, std::uint32_t* systemBytes,
                     std::uint32_t* inUseBytes)
{
    EnsureInitialised();
    const HeapStatistics statistics = g_heap.Statistics();
    if (maxSystemBytes)
        *maxSystemBytes = statistics.maxSystemBytes;
    if (systemBytes)
        *systemBytes = statistics.systemBytes;
    if (inUseBytes)
        *inUseBytes = statistics.inUseBytes;
}

// The free chunks: lists of small ones by exact size, tries of large ones, the designated victim
// and the top.
//
// A link that points below the heap's memory shows that somebody wrote over a free chunk. The
// relinking is then skipped and the operation goes on, silently.
#pragma once

#include "xelutils/memory/internal/heap.h"

namespace xel_heap {

inline word SmallBinOf(word size)
{
    return size >> 3;
}
inline word BitOf(word bin)
{
    return word{1} << bin;
}
inline word LowestBin(word map)
{
    return static_cast<word>(std::countr_zero(map));
}
// The bits above the one of `bin`.
inline word BitsAbove(word bin)
{
    return bin >= 31 ? 0 : ~word{0} << (bin + 1);
}

// Each power of two from 256 on is split into two bins.
inline word TreeBinOf(word size)
{
    const word x = size >> 8;
    if (x > 0xFFFF)
        return 31;
    const word k = 31 - static_cast<word>(std::countl_zero(x));
    return 2 * k + ((size >> (k + 7)) & 1);
}

// How far a size is shifted to the left to bring the bit that decides at the root of the bin's
// trie to the top.
inline word KeyShiftOf(word treeBin)
{
    return treeBin == 31 ? 0 : 25 - (treeBin >> 1);
}

inline void Heap::InsertSmall(Chunk* chunk, word size)
{
    const word bin = SmallBinOf(size);
    Chunk* const first = smallBins[bin];
    smallMap |= BitOf(bin);
    smallBins[bin] = chunk;
    chunk->fd = first;
    chunk->bk = nullptr;
    if (first && IsAtOrAboveLeast(first))
        first->bk = chunk;
}

inline void Heap::UnlinkSmall(Chunk* chunk, word size)
{
    Chunk* const forward = chunk->fd;
    Chunk* const back = chunk->bk;
    if ((forward && !IsAtOrAboveLeast(forward)) || (back && !IsAtOrAboveLeast(back))) [[unlikely]]
        return;
    if (back) {
        back->fd = forward;
    } else {
        const word bin = SmallBinOf(size);
        smallBins[bin] = forward;
        if (!forward)
            smallMap &= ~BitOf(bin);
    }
    if (forward)
        forward->bk = back;
}

inline Chunk* Heap::TakeFirstSmall(word bin)
{
    Chunk* const chunk = smallBins[bin];
    Chunk* const next = chunk->fd;
    if (!next) {
        smallBins[bin] = nullptr;
        smallMap &= ~BitOf(bin);
    } else if (IsAtOrAboveLeast(next)) {
        smallBins[bin] = next;
        next->bk = nullptr;
    }
    return chunk;
}

// The old victim is always small here: it could not serve a small request.
inline void Heap::ReplaceVictim(Chunk* chunk, word size)
{
    if (dvSize != 0)
        InsertSmall(dv, dvSize);
    dv = chunk;
    dvSize = size;
}

inline void Heap::InsertChunk(Chunk* chunk, word size)
{
    if (size < kMinLargeSize)
        InsertSmall(chunk, size);
    else
        InsertLarge(static_cast<TreeChunk*>(chunk), size);
}

inline void Heap::UnlinkChunk(Chunk* chunk, word size)
{
    if (size < kMinLargeSize)
        UnlinkSmall(chunk, size);
    else
        UnlinkLarge(static_cast<TreeChunk*>(chunk));
}

// Splits hand out the low end.
inline void* Heap::CarveFromVictim(word size)
{
    Chunk* const chunk = dv;
    const word rest = dvSize - size;
    if (rest >= kMinChunkSize) {
        dv = chunk->At(size);
        dvSize = rest;
        dv->SetFree(rest);
        chunk->SetInUse(size);
    } else {
        chunk->SetInUseAndTellNext(dvSize);
        dv = nullptr;
        dvSize = 0;
    }
    return chunk->Block();
}

inline void* Heap::CarveFromTop(word size)
{
    Chunk* const chunk = top;
    topSize -= size;
    top = chunk->At(size);
    top->head = topSize | kPrevInUse;
    chunk->SetInUse(size);
    return chunk->Block();
}

} // namespace xel_heap

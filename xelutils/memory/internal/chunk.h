// The words of a chunk, and the links between chunks.
//
//   chunk ->  +-----------+  prevFoot  size of the chunk before, if that one is free; else the
//             | prevFoot  |            last word of that one's payload
//             +-----------+
//             | head      |  size of this chunk | kInUse | kPrevInUse
//   block ->  +-----------+
//             | payload, or the links of a free chunk ...
//             +-----------+
//             | prevFoot  |  of the next chunk
//
// Every chunk has a size that is a multiple of 8 and at least 16, and lies at a multiple of 8. A
// free chunk has its size again in the next chunk's prevFoot, and the next head's kPrevInUse is
// clear; two free chunks never stand side by side.
//
// Words are read and written one by one and never copied as a whole: prevFoot may be part of
// another thread's payload.
#pragma once

#include <cstdint>
#include <type_traits>

namespace xel_heap {

using word = std::uint32_t;

constexpr word kPrevInUse = 1;
constexpr word kInUse = 2;
constexpr word kFlagBits = 7;

constexpr word kAlignment = 8;
constexpr word kMinChunkSize = 16;
// What a chunk in use costs over its payload.
constexpr word kOverhead = 4;
// The same for a directly mapped chunk, whose next chunk's prevFoot is not its own.
constexpr word kMappedOverhead = 8;
// Chunks below this size are kept in small bins, others in tree bins.
constexpr word kMinLargeSize = 256;
constexpr word kMaxSmallRequest = 244;
// Requests of this size and more fail.
constexpr word kRequestLimit = 0xFFFFFFC0;
constexpr word kNoSize = 0xFFFFFFFF;
// Ends a segment's run of chunks: in use, previous in use, size 4.
constexpr word kFencepost = 7;
// prevFoot of a directly mapped chunk: distance from the start of its mapping, with this bit.
constexpr word kMappedBit = 1;

// A link: a pointer in 32 bits. The heap's memory lies below 4 GiB, so the upper half of a wider
// pointer is zero.
template <class T> class heap_ptr_32 {
public:
    constexpr heap_ptr_32() = default;
    constexpr heap_ptr_32(std::nullptr_t) {}
    heap_ptr_32(T* target) : m_address(static_cast<word>(reinterpret_cast<std::uintptr_t>(target)))
    {
    }
    operator T*() const { return reinterpret_cast<T*>(static_cast<std::uintptr_t>(m_address)); }
    T* operator->() const { return *this; }

private:
    word m_address = 0;
};
template <class T> using heap_ptr = std::conditional_t<sizeof(void*) == 4, T*, heap_ptr_32<T>>;

struct [[gnu::may_alias]] Chunk {
    word prevFoot;
    word head;
    // Free chunks only. Small: the neighbours in the bin's list, null at its ends. Large: those in
    // the ring of chunks of the same size.
    heap_ptr<Chunk> fd;
    heap_ptr<Chunk> bk;

    word Size() const { return head & ~kFlagBits; }
    bool InUse() const { return (head & kInUse) != 0; }
    bool PrevInUse() const { return (head & kPrevInUse) != 0; }
    bool IsMapped() const { return !PrevInUse() && (prevFoot & kMappedBit) != 0; }
    // Bytes of payload of a chunk in use.
    word UsableSize() const { return Size() - (IsMapped() ? kMappedOverhead : kOverhead); }

    Chunk* At(word offset)
    {
        return reinterpret_cast<Chunk*>(reinterpret_cast<std::uintptr_t>(this) + offset);
    }
    Chunk* Before(word offset)
    {
        return reinterpret_cast<Chunk*>(reinterpret_cast<std::uintptr_t>(this) - offset);
    }
    Chunk* Next() { return At(Size()); }
    void* Block() { return &fd; }

    // In use, with the previous chunk in use too.
    void SetInUse(word size) { head = size | kInUse | kPrevInUse; }
    // The same for a chunk whose size may change the next one's neighbour.
    void SetInUseAndTellNext(word size)
    {
        SetInUse(size);
        At(size)->head |= kPrevInUse;
    }
    // Free, with the previous chunk in use; the next one knows already that it is free.
    void SetFree(word size)
    {
        head = size | kPrevInUse;
        At(size)->prevFoot = size;
    }
    void SetFreeAndTellNext(word size, Chunk* next)
    {
        next->head &= ~kPrevInUse;
        SetFree(size);
    }
};

// A free chunk of 256 bytes or more. One chunk of each size is a node of its bin's tree; the
// others of that size hang on its ring with a null parent.
struct [[gnu::may_alias]] TreeChunk : Chunk {
    heap_ptr<TreeChunk> child[2];
    // The root is its own parent.
    heap_ptr<TreeChunk> parent;
    // Of the tree bin, times 8: this word can come to lie where a freed neighbour had its head, and
    // a second free of that one must not find kInUse there.
    word index;

    TreeChunk* RingNext() { return static_cast<TreeChunk*>(static_cast<Chunk*>(fd)); }
    TreeChunk* RingPrev() { return static_cast<TreeChunk*>(static_cast<Chunk*>(bk)); }
    TreeChunk* LeftmostChild() { return child[0] ? child[0] : child[1]; }
};
static_assert(sizeof(Chunk) == 16 && sizeof(TreeChunk) == 32);

inline Chunk* ChunkOf(void* block)
{
    return reinterpret_cast<Chunk*>(reinterpret_cast<std::uintptr_t>(block) - 2 * sizeof(word));
}

// The chunk size for a request below kRequestLimit.
inline word ChunkSizeFor(word request)
{
    return request < kMinChunkSize - kOverhead - 1
               ? kMinChunkSize
               : (request + kOverhead + kAlignment - 1) & ~(kAlignment - 1);
}

} // namespace xel_heap

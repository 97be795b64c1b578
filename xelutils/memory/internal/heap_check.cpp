#include "xelutils/memory/internal/heap_check.h"

#include "xelutils/memory/internal/bins.h"

namespace xel_heap {

namespace {

#define XEL_HEAP_REQUIRE(condition, invariant)                                                     \
    do {                                                                                           \
        if (!(condition))                                                                          \
            return invariant;                                                                      \
    } while (false)

class Walk {
public:
    Walk(Heap& heap, HeapCensus& census) : m_heap(heap), m_census(census) {}

    const char* Segments()
    {
        bool topSeen = false;
        for (Segment* record = &m_heap.segment; record; record = record->next) {
            XEL_HEAP_REQUIRE(record->IsReleasable(), "segment is not of the mapping primitive");
            XEL_HEAP_REQUIRE(record->base >= m_heap.leastAddress, "segment below least address");
            XEL_HEAP_REQUIRE(record->size % kGranularity == 0, "segment size off the granularity");
            XEL_HEAP_REQUIRE(record == &m_heap.segment || record->Holds(record),
                             "older record outside its segment");
            ++m_census.segments;
            m_census.segmentBytes += record->size;
            if (const char* fault = Chunks(*record, topSeen))
                return fault;
        }
        XEL_HEAP_REQUIRE(topSeen, "top in no segment");
        return nullptr;
    }

    const char* SmallBins()
    {
        for (word bin = 0; bin < Heap::kSmallBins; ++bin) {
            Chunk* const first = m_heap.smallBins[bin];
            XEL_HEAP_REQUIRE(((m_heap.smallMap >> bin) & 1) == (first != nullptr),
                             "small map differs from the lists");
            const Chunk* previous = nullptr;
            for (Chunk* chunk = first; chunk; chunk = chunk->fd) {
                XEL_HEAP_REQUIRE(chunk->bk == previous, "small list does not point back");
                XEL_HEAP_REQUIRE(chunk->Size() == bin * 8, "small chunk in the wrong bin");
                XEL_HEAP_REQUIRE(IsBinned(chunk), "small bin holds a used chunk, victim or top");
                ++m_binned;
                previous = chunk;
            }
        }
        return nullptr;
    }

    const char* TreeBins()
    {
        for (word bin = 0; bin < Heap::kTreeBins; ++bin) {
            TreeChunk* const root = m_heap.treeBins[bin];
            XEL_HEAP_REQUIRE(((m_heap.treeMap >> bin) & 1) == (root != nullptr),
                             "tree map differs from the trees");
            if (!root)
                continue;
            XEL_HEAP_REQUIRE(root->parent == root, "root is not its own parent");
            if (const char* fault = Subtree(root, bin, 0, 0))
                return fault;
        }
        XEL_HEAP_REQUIRE(m_binned == m_census.freeChunks, "free chunk in no bin or in two");
        for (word i = 0; i < Heap::kIndexedSizes; ++i) {
            TreeChunk* const node = m_heap.nodeOfSize[i];
            XEL_HEAP_REQUIRE(((m_heap.nodeMap[i / 64] >> (i % 64)) & 1) == (node != nullptr),
                             "map of sizes differs from the index");
            m_indexed -= node != nullptr;
        }
        XEL_HEAP_REQUIRE(m_indexed == 0, "size without node in the index");
        return nullptr;
    }

private:
    bool IsBinned(const Chunk* chunk) const
    {
        return !chunk->InUse() && chunk != m_heap.dv && chunk != m_heap.top;
    }

    const char* Chunks(Segment& segment, bool& topSeen)
    {
        Chunk* chunk = segment.base;
        XEL_HEAP_REQUIRE(chunk->PrevInUse(), "first chunk follows a free one");
        bool previousFree = false;
        while (segment.Holds(chunk) && chunk->head != kFencepost) {
            const word size = chunk->Size();
            XEL_HEAP_REQUIRE(chunk->PrevInUse() == !previousFree, "previous-in-use bit is wrong");
            if (chunk == m_heap.top) {
                topSeen = true;
                return Top(segment);
            }
            XEL_HEAP_REQUIRE(size >= kMinChunkSize, "chunk too small");
            XEL_HEAP_REQUIRE(chunk->At(size) <= segment.End()->Before(4 * sizeof(word)),
                             "chunk reaches into the fenceposts");
            if (chunk->InUse()) {
                ++m_census.usedChunks;
            } else {
                XEL_HEAP_REQUIRE(!previousFree, "two free chunks side by side");
                XEL_HEAP_REQUIRE(chunk->Next()->prevFoot == size, "free chunk lacks its foot");
                if (chunk == m_heap.dv)
                    XEL_HEAP_REQUIRE(size == m_heap.dvSize, "victim has another size");
                else
                    ++m_census.freeChunks;
            }
            previousFree = !chunk->InUse();
            chunk = chunk->Next();
        }
        XEL_HEAP_REQUIRE(!previousFree, "free chunk before the fenceposts");
        int posts = 0;
        for (; chunk->At(sizeof(word)) < segment.End(); chunk = chunk->At(sizeof(word)), ++posts)
            XEL_HEAP_REQUIRE(chunk->head == kFencepost, "fencepost broken");
        XEL_HEAP_REQUIRE(posts == 3 || posts == 5, "wrong number of fenceposts");
        return nullptr;
    }

    const char* Top(Segment& segment)
    {
        Chunk* const top = m_heap.top;
        XEL_HEAP_REQUIRE(&segment == &m_heap.segment, "top not in the newest segment");
        XEL_HEAP_REQUIRE(top->head == (m_heap.topSize | kPrevInUse), "top has a wrong head");
        XEL_HEAP_REQUIRE(top->At(m_heap.topSize + kTopFoot) == segment.End(),
                         "top does not reach to its foot");
        XEL_HEAP_REQUIRE(top->At(m_heap.topSize)->head == kTopFoot, "top foot broken");
        return nullptr;
    }

    // All sizes below `node` share the first `depth` bits of `prefix` below the bin's bound.
    const char* Subtree(TreeChunk* node, word bin, int depth, word prefix)
    {
        const word size = node->Size();
        const word key = size << KeyShiftOf(bin);
        XEL_HEAP_REQUIRE(TreeBinOf(size) == bin && node->index == bin * 8,
                         "large chunk in the wrong bin");
        XEL_HEAP_REQUIRE(depth == 0 || (key >> (32 - depth)) == prefix, "large chunk off its path");
        XEL_HEAP_REQUIRE(IsBinned(node), "tree holds a used chunk, victim or top");
        ++m_binned;
        const word index = (size - kMinLargeSize) / kAlignment;
        if (index < Heap::kIndexedSizes) {
            XEL_HEAP_REQUIRE(m_heap.nodeOfSize[index] == node, "node not under its size");
            ++m_indexed;
        }
        for (TreeChunk* other = node->RingNext(); other != node; other = other->RingNext()) {
            XEL_HEAP_REQUIRE(other->Size() == size, "ring of different sizes");
            XEL_HEAP_REQUIRE(!other->parent, "ring member with a parent");
            XEL_HEAP_REQUIRE(other->RingNext()->RingPrev() == other, "ring does not point back");
            XEL_HEAP_REQUIRE(IsBinned(other), "ring holds a used chunk, victim or top");
            ++m_binned;
        }
        for (word side = 0; side < 2; ++side) {
            TreeChunk* const child = node->child[side];
            if (!child)
                continue;
            XEL_HEAP_REQUIRE(child->parent == node, "child of another parent");
            if (const char* fault = Subtree(child, bin, depth + 1, prefix * 2 + side))
                return fault;
        }
        return nullptr;
    }

    Heap& m_heap;
    HeapCensus& m_census;
    word m_binned = 0;
    word m_indexed = 0;
};

} // namespace

const char* FindHeapFault(Heap& heap, HeapCensus& census)
{
    census = {};
    if (!heap.top)
        return nullptr;
    XEL_HEAP_REQUIRE((heap.dv == nullptr) == (heap.dvSize == 0), "victim without a size");
    XEL_HEAP_REQUIRE(!heap.dv || heap.dv->Size() == heap.dvSize, "victim has another size");
    XEL_HEAP_REQUIRE(heap.footprint <= heap.maxFootprint, "footprint above its maximum");
    XEL_HEAP_REQUIRE(heap.magic == g_parameters.magic, "magic word is wrong");
    Walk walk(heap, census);
    if (const char* fault = walk.Segments())
        return fault;
    XEL_HEAP_REQUIRE(census.segmentBytes <= heap.footprint, "segments exceed the footprint");
    if (const char* fault = walk.SmallBins())
        return fault;
    return walk.TreeBins();
}

} // namespace xel_heap

#include <cstring>
#include <map>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "memory/heap_model.h"
#include "xelutils/memory/dlmalloc.h"

using namespace xel_heap;

namespace {

constexpr word kMiB = 1 << 20;

// A heap of its own beside the process's one.
class HeapTest : public testing::Test {
protected:
    HeapTest()
    {
        EnsureInitialised();
        heap.flags = g_parameters.defaultFlags;
    }
    ~HeapTest() override
    {
        // A segment's record lies in its own memory.
        if (!heap.top)
            return;
        std::vector<Segment> segments;
        for (Segment* record = &heap.segment; record; record = record->next)
            segments.push_back(*record);
        for (Segment& record : segments)
            EXPECT_TRUE(ReleaseMapping(record.base, record.size));
    }
    void ExpectSound() { EXPECT_STREQ(FindHeapFault(heap, census), nullptr); }
    HeapStatistics Stats() { return heap.Statistics(); }
    word Used() { return Stats().inUseBytes; }

    Heap heap;
    HeapCensus census;
};

TEST_F(HeapTest, FirstBlockCostsOneSegmentAndOneSmallestChunk)
{
    EXPECT_EQ(Stats().maxSystemBytes + Stats().systemBytes + Used(), 0u);
    heap.Allocate(1);
    EXPECT_EQ(Stats().maxSystemBytes, 4194304u);
    EXPECT_EQ(Stats().systemBytes, 4194304u);
    EXPECT_EQ(Used(), 16u);
    EXPECT_EQ(heap.top->At(heap.topSize)->head, 40u);
    ExpectSound();
}

TEST_F(HeapTest, ChunkSizesOfRequests)
{
    const struct {
        word request, chunk;
    } rows[] = {{0, 16},    {1, 16},    {10, 16},          {11, 16},   {12, 16},
                {13, 24},   {20, 24},   {21, 32},          {244, 248}, {245, 256},
                {252, 256}, {253, 264}, {0x3FFF4, 0x3FFF8}};
    for (const auto& row : rows) {
        const word before = Used();
        void* const block = heap.Allocate(row.request);
        ASSERT_TRUE(block);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 8, 0u);
        EXPECT_LT(reinterpret_cast<std::uintptr_t>(block), 0x100000000u);
        EXPECT_EQ(ChunkOf(block)->Size(), row.chunk) << row.request;
        EXPECT_EQ(Used() - before, row.chunk) << row.request;
        std::memset(block, 0xFF, ChunkOf(block)->UsableSize());
        ExpectSound();
    }
}

TEST_F(HeapTest, RefusesWhatCannotBe)
{
    heap.Allocate(1);
    EXPECT_EQ(heap.Allocate(0xFFFFFFC0), nullptr);
    EXPECT_EQ(heap.Allocate(0xFFFFFFFF), nullptr);
    EXPECT_EQ(heap.AllocateZeroed(0x10000, 0x10001), nullptr);
    EXPECT_EQ(heap.AllocateZeroed(2, 0x80000000), nullptr);
    EXPECT_NE(heap.AllocateZeroed(0, 0xFFFFFFFF), nullptr);
    EXPECT_NE(heap.AllocateZeroed(0xFFFFFFFF, 0), nullptr);
    EXPECT_EQ(Stats().systemBytes, 4194304u);
    ExpectSound();
}

TEST_F(HeapTest, MisuseIsIgnored)
{
    alignas(8) static char foreign[64] = {};
    heap.Free(foreign + 16); // nothing obtained yet
    auto* const first = static_cast<char*>(heap.Allocate(20));
    auto* const second = static_cast<char*>(heap.Allocate(300));
    auto* const third = static_cast<char*>(heap.Allocate(20));
    heap.Allocate(20);
    heap.Free(first);
    const word used = Used();
    // Twice; twice after a merge with the chunk before; never ours; in the middle of one.
    heap.Free(first);
    heap.Free(second);
    heap.Free(second);
    heap.Free(foreign + 16);
    heap.Free(third + 1);
    heap.Free(nullptr);
    heap.Free(reinterpret_cast<void*>(std::uintptr_t{8}));
    EXPECT_EQ(Used(), used - 304);
    EXPECT_EQ(heap.Reallocate(second, 10), nullptr);
    EXPECT_EQ(heap.Reallocate(foreign + 16, 10), nullptr);
    ExpectSound();
}

TEST_F(HeapTest, SecondFreeOfMergedChunkIsSeenWhereTreeLinksLie)
{
    // The freed neighbour's head comes to lie where the merged large chunk keeps its tree words.
    for (const word before : {12u, 20u, 28u}) {
        for (const word size : {236u, 1000u, 200000u}) {
            void* const first = heap.Allocate(before);
            void* const second = heap.Allocate(size);
            heap.Allocate(8);
            heap.Free(first);
            heap.Free(second);
            const word used = Used();
            heap.Free(second);
            EXPECT_EQ(Used(), used) << before << ' ' << size;
            ExpectSound();
        }
    }
}

TEST_F(HeapTest, ServesFromTheRightPlace)
{
    // Blocks kept apart by small ones in use, so that nothing merges.
    const auto separated = [this](word size) {
        void* const block = heap.Allocate(size);
        heap.Allocate(8);
        return block;
    };
    void* const exact = separated(40);     // chunk 48
    void* const eightOver = separated(60); // chunk 64
    void* const medium = separated(100);   // chunk 104
    void* const large = separated(1000);
    void* const larger = separated(3100);
    for (void* block : {exact, eightOver, medium, large, larger})
        heap.Free(block);
    const word topBefore = heap.topSize;

    EXPECT_EQ(heap.Allocate(40), exact) << "the exact bin";
    EXPECT_EQ(heap.Allocate(52), eightOver) << "the bin 8 above, handed out whole";
    EXPECT_EQ(ChunkOf(eightOver)->Size(), 64u);
    EXPECT_EQ(heap.Allocate(60), medium) << "the low end of the next larger bin";
    EXPECT_EQ(heap.dvSize, 40u) << "the rest is the designated victim";
    EXPECT_EQ(heap.Allocate(28), static_cast<char*>(medium) + 64) << "the victim, whole at < 16";
    EXPECT_EQ(heap.dvSize, 0u);
    EXPECT_EQ(heap.Allocate(2000), larger) << "best fit among large ones";
    EXPECT_EQ(heap.Allocate(244), large) << "smallest large chunk for a small request";
    EXPECT_EQ(heap.dvSize, 1008u - 248u);
    EXPECT_EQ(heap.topSize, topBefore) << "nothing came from the top";
    ExpectSound();
}

TEST_F(HeapTest, NeighboursMerge)
{
    void* const a = heap.Allocate(100);
    void* const b = heap.Allocate(100);
    void* const c = heap.Allocate(100);
    heap.Allocate(8);
    heap.Free(a);
    heap.Free(c);
    heap.Free(b);
    ExpectSound();
    EXPECT_EQ(census.freeChunks, 1u);
    EXPECT_EQ(ChunkOf(a)->Size(), 3 * 104u);

    void* const last = heap.Allocate(5000);
    const word top = heap.topSize;
    heap.Free(last);
    EXPECT_EQ(heap.topSize, top + 5008);
    ExpectSound();
}

TEST_F(HeapTest, LargeBlocksGetMappingsOfTheirOwn)
{
    const struct {
        word request, mapping;
    } rows[] = {{0x3FFFC, 4 * kMiB}, {4194268, 4 * kMiB}, {4194269, 8 * kMiB}};
    for (const auto& row : rows) {
        void* const block = heap.Allocate(row.request);
        ASSERT_TRUE(block);
        std::memset(block, 1, row.request);
        EXPECT_TRUE(ChunkOf(block)->IsMapped());
        EXPECT_EQ(Stats().systemBytes, 0u) << "no top yet";
        EXPECT_EQ(heap.footprint, row.mapping) << row.request;
        heap.Free(block);
        EXPECT_EQ(heap.footprint, 0u);
        EXPECT_GE(heap.maxFootprint, row.mapping);
        heap.Free(block); // its memory is gone; must be noticed without touching it
        EXPECT_EQ(heap.Reallocate(block, 100), nullptr);
    }
    heap.Allocate(1);
    EXPECT_FALSE(ChunkOf(heap.Allocate(0x40000))->IsMapped()) << "the top can serve it";
}

TEST_F(HeapTest, ResizingKeepsContentAndPlaceWhereItCan)
{
    auto* const block = static_cast<unsigned char*>(heap.Reallocate(nullptr, 100));
    for (int i = 0; i < 100; ++i)
        block[i] = static_cast<unsigned char>(i);
    EXPECT_EQ(heap.Reallocate(block, 50000), block) << "grows into the top";
    EXPECT_EQ(heap.Reallocate(block, 200), block) << "shrinks; the rest goes back to the top";
    EXPECT_EQ(Used(), 208u);
    EXPECT_EQ(heap.Reallocate(block, 190), block) << "less than 16 over stays";
    EXPECT_EQ(ChunkOf(block)->Size(), 208u);
    heap.Allocate(8);
    EXPECT_EQ(heap.Reallocate(block, 0xFFFFFFC0), nullptr);
    auto* const moved = static_cast<unsigned char*>(heap.Reallocate(block, 1000));
    EXPECT_NE(moved, block);
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(moved[i], i);
    EXPECT_EQ(heap.Reallocate(moved, 0), moved) << "a size of 0 does not free";
    EXPECT_EQ(ChunkOf(moved)->Size(), 16u);
    ExpectSound();
}

TEST_F(HeapTest, ResizingMappedBlocks)
{
    heap.Allocate(1);
    auto* const block = static_cast<char*>(heap.Allocate(20 * kMiB));
    block[100] = 'x';
    EXPECT_EQ(ChunkOf(block)->Size(), 24 * kMiB - 16);
    EXPECT_EQ(heap.Reallocate(block, 24 * kMiB - 28), block) << "up to its chunk size less 4";
    EXPECT_EQ(heap.Reallocate(block, 16 * kMiB), block) << "less than 8 MiB over";
    auto* const moved = static_cast<char*>(heap.Reallocate(block, 15 * kMiB));
    EXPECT_NE(moved, block);
    EXPECT_EQ(moved[100], 'x');
    auto* const small = static_cast<char*>(heap.Reallocate(moved, 200));
    EXPECT_EQ(small[100], 'x');
    EXPECT_FALSE(ChunkOf(small)->IsMapped());
    EXPECT_EQ(heap.footprint, 4 * kMiB);
    ExpectSound();
}

TEST_F(HeapTest, ZeroedMemoryIsZeroWhereItWasUsedBefore)
{
    void* const used = heap.Allocate(400);
    std::memset(used, 0xEE, 400);
    heap.Free(used);
    auto* const zeroed = static_cast<char*>(heap.AllocateZeroed(20, 20));
    EXPECT_EQ(zeroed, used);
    for (int i = 0; i < 400; ++i)
        ASSERT_EQ(zeroed[i], 0) << i;
}

TEST_F(HeapTest, GivesBackTopAndWholeSegments)
{
    std::vector<void*> blocks;
    for (int i = 0; i < 200; ++i)
        blocks.push_back(heap.Allocate(100000));
    EXPECT_GE(heap.footprint, 20 * kMiB);
    ExpectSound();
    for (void* block : blocks)
        heap.Free(block);
    ExpectSound();
    EXPECT_EQ(Used(), 24 * census.usedChunks + (census.segments - 1) * 16) << "records only";
    EXPECT_LE(heap.footprint, 8 * kMiB);
    for (void* block : blocks)
        heap.Free(block); // most of them lie in memory that is gone
    ExpectSound();
    EXPECT_GE(heap.maxFootprint, 20 * kMiB);
}

TEST_F(HeapTest, TrimWithNothingToGiveBackIsSwitchedOffUntilTheTopIsSetAnew)
{
    void* const block = heap.Allocate(100000);
    EXPECT_EQ(heap.trimCheck, 0x200000u);
    heap.Free(block);
    EXPECT_EQ(heap.trimCheck, 0xFFFFFFFFu);
    heap.Free(heap.Allocate(100000));
    EXPECT_EQ(heap.trimCheck, 0xFFFFFFFFu) << "carving from the top does not set it";
    EXPECT_EQ(heap.footprint, 4 * kMiB);
    for (int i = 0; i < 50; ++i)
        heap.Allocate(100000);
    EXPECT_EQ(heap.trimCheck, 0x200000u);
}

// Segments that are not neighbours, and one that comes to lie directly below another.
TEST_F(HeapTest, GrowsAroundForeignReservations)
{
    heap.Allocate(1);
    std::vector<void*> fences;
    const auto fence = [&] {
        fences.push_back(VirtualAlloc(nullptr, kGranularity, MEM_RESERVE, PAGE_NOACCESS));
    };
    fence();
    while (heap.footprint < 8 * kMiB)
        heap.Allocate(200000);
    ExpectSound();
    EXPECT_EQ(census.segments, 2u);
    ASSERT_TRUE(VirtualFree(fences[0], 0, MEM_RELEASE));
    while (heap.footprint < 12 * kMiB)
        heap.Allocate(200000);
    ExpectSound();
    EXPECT_EQ(census.segments, 2u) << "prepended to the newer segment";
    for (int i = 0; i < 1000; ++i)
        heap.Allocate(10000);
    ExpectSound();
}

// The old top's rest may be too small for a chunk of its own when a new segment is added.
TEST_F(HeapTest, EveryRestOfTheOldTopIsHandled)
{
    std::vector<void*> fences;
    for (const word rest : {8u, 16u, 24u, 256u}) {
        heap.Allocate(1);
        fences.push_back(VirtualAlloc(nullptr, kGranularity, MEM_RESERVE, PAGE_NOACCESS));
        while (heap.topSize > 200000)
            heap.Allocate(100000);
        heap.Allocate(heap.topSize - rest - 4);
        ASSERT_EQ(heap.topSize, rest);
        const word segments = (ExpectSound(), census.segments);
        heap.Allocate(1000);
        ExpectSound();
        EXPECT_EQ(census.segments, segments + 1) << rest;
    }
    for (void* fence : fences)
        EXPECT_TRUE(VirtualFree(fence, 0, MEM_RELEASE));
}

TEST_F(HeapTest, PieceOfReservationIsNeverReleasedByHalves)
{
    auto* const memory = reinterpret_cast<char*>(ObtainMapping(2 * kGranularity, false));
    ASSERT_TRUE(memory);
    EXPECT_FALSE(ReleaseMapping(memory + kGranularity, kGranularity)) << "a piece";
    EXPECT_FALSE(ReleaseMapping(memory, kGranularity)) << "less than the reservation";
    EXPECT_FALSE(ReleaseMapping(memory, 3 * kGranularity)) << "more than there is";
    memory[0] = memory[2 * kGranularity - 1] = 1;
    EXPECT_TRUE(ReleaseMapping(memory, 2 * kGranularity));
    EXPECT_FALSE(ReleaseMapping(memory, 2 * kGranularity));
}

TEST_F(HeapTest, KeepsItsPromisesWhenMemoryRunsOut)
{
    auto* const block = static_cast<char*>(heap.Allocate(200000));
    block[0] = 'x';
    std::vector<Chunk*> everything;
    for (const word size : {256 * kMiB, 64 * kMiB, kGranularity}) {
        while (Chunk* const mapping = reinterpret_cast<Chunk*>(
                   VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS)))
            everything.push_back(mapping);
    }
    EXPECT_EQ(heap.Allocate(5 * kMiB), nullptr);
    EXPECT_EQ(heap.AllocateZeroed(5, kMiB), nullptr);
    EXPECT_EQ(heap.Reallocate(block, 5 * kMiB), nullptr);
    EXPECT_EQ(block[0], 'x');
    int served = 0;
    while (heap.Allocate(100000))
        ++served;
    EXPECT_EQ(served, (4194304 - 40 - 200008) / 100008) << "the top is used up first";
    EXPECT_EQ(heap.footprint, 4194304u);
    ExpectSound();
    for (Chunk* mapping : everything)
        EXPECT_TRUE(VirtualFree(mapping, 0, MEM_RELEASE));
    EXPECT_NE(heap.Allocate(100000), nullptr);
    ExpectSound();
}

TEST_F(HeapTest, RandomRunAgainstModel)
{
    const unsigned start = std::random_device{}();
    SCOPED_TRACE(testing::Message() << "random start value " << start);
    std::mt19937 random(start);
    HeapModel<Heap> model(heap, heap);
    for (int step = 0; step < 6000; ++step) {
        const word limits[] = {900000, 20000, 20000, 1500, 1500, 1500, 260, 260};
        const auto size = static_cast<word>(random() % limits[random() % std::size(limits)]);
        // In turn more blocks come than go and the other way round.
        const auto action = static_cast<unsigned>(random() % 256);
        const bool frees = step / 1000 % 2 && random() % 3 == 0;
        ASSERT_STREQ(model.Step(frees ? 180 + action % 76 : action, size), nullptr) << step;
    }
    ASSERT_STREQ(model.FreeAll(), nullptr);
    EXPECT_EQ(model.census.segmentBytes, heap.footprint);
    EXPECT_EQ(model.census.usedChunks, model.census.segments - 1);
}

TEST(HeapThreads, OneHeapServesMany)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            std::mt19937 random(static_cast<unsigned>(t));
            std::map<unsigned char*, word> blocks;
            for (int i = 0; i < 20000; ++i) {
                if (blocks.size() < 50 || random() % 2) {
                    const word size = static_cast<word>(random() % 600);
                    auto* const block = static_cast<unsigned char*>(dlmalloc(size));
                    std::memset(block, t, size);
                    EXPECT_TRUE(blocks.emplace(block, size).second);
                    continue;
                }
                const auto [block, size] = *blocks.begin();
                ASSERT_EQ(std::count(block, block + size, t), static_cast<long>(size));
                dlfree(block);
                blocks.erase(block);
            }
            for (const auto& [block, size] : blocks)
                dlfree(dlrealloc(block, size + 50));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    HeapCensus census;
    EXPECT_STREQ(FindHeapFault(g_heap, census), nullptr);
}

TEST(Heap, PrintsStatisticsInThreeLines)
{
    dlfree(dlmalloc(1));
    std::uint32_t most, system, used;
    dlmalloc_stats2(&most, &system, &used);
    char expected[200];
    std::snprintf(expected, sizeof expected,
                  "max system bytes = %10u\nsystem bytes     = %10u\nin use bytes     = %10u\n",
                  most, system, used);
    testing::internal::CaptureStderr();
    PrintStatistics();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
}

} // namespace

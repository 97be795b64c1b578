#include <vector>

#include <gtest/gtest.h>

#include "xelutils/memory/memory_funcs.h"
#include "xelutils/memory/xel_dl_allocator.h"

namespace {

std::uint32_t BytesInUse()
{
    std::uint32_t used;
    dlmalloc_stats2(nullptr, nullptr, &used);
    return used;
}

TEST(Allocator, TakesFromTheHeapAndGivesBack)
{
    dlfree(dlmalloc(1));
    const std::uint32_t before = BytesInUse();
    {
        std::vector<long long, xel_mem::xel_dl_allocator<long long>> numbers(100);
        EXPECT_EQ(BytesInUse() - before, 808u);
        numbers.resize(1000);
        EXPECT_EQ(BytesInUse() - before, 8008u);
    }
    EXPECT_EQ(BytesInUse(), before);
}

TEST(Allocator, OddCounts)
{
    xel_mem::xel_dl_allocator<long long> allocator;
    long long* const nothing = allocator.allocate(0);
    EXPECT_NE(nothing, nullptr);
    allocator.deallocate(nothing, 0);
    allocator.deallocate(nullptr, 5);
    EXPECT_EQ(allocator.allocate(0xFFFFFFF8 / 8), nullptr);
    // 2^32 + 8 bytes: cut to 32 bits they would be few.
    EXPECT_EQ(allocator.allocate(static_cast<std::size_t>(0x100000008 / 8)), nullptr);
    EXPECT_TRUE(allocator == xel_mem::xel_dl_allocator<char>(allocator));
}

TEST(MemoryFuncs, VirtualNeverExceedsPhysical)
{
    const unsigned long physical = MemoryFuncs::GetFreeSliderMemory();
    const unsigned long smaller = MemoryFuncs::GetFreeVirtMemory();
    EXPECT_GT(smaller, 0u);
    EXPECT_LE(smaller, physical + (64ULL << 20)) << "asked one after the other, so not quite equal";
    EXPECT_LE(physical, 0xFFFFFFFFu);
}

} // namespace

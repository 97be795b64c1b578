#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "support/host_memory.h"
#include "support/target.h"
#include "xelutils/platform/coredll.h"

namespace {

constexpr SIZE_T kMegabyte = 0x100000;
constexpr std::uint64_t kFourGigabytes = 0x100000000;

constexpr DWORD kFree = 0x10000;
const void* const kNull = nullptr;

std::uint64_t Number(const void* address)
{
    return reinterpret_cast<std::uintptr_t>(address);
}

void* Reserve(SIZE_T size, DWORD direction = 0)
{
    return VirtualAlloc(nullptr, size, MEM_RESERVE | direction, PAGE_NOACCESS);
}

void* Commit(void* address, SIZE_T size)
{
    return VirtualAlloc(address, size, MEM_COMMIT, PAGE_READWRITE);
}

bool Release(void* address)
{
    return VirtualFree(address, 0, MEM_RELEASE) != FALSE;
}

} // namespace

TEST(VirtualMemory, PlacesAreAdjacentBelowFourGigabytesAndUsedAgain)
{
    for (const DWORD direction : {DWORD{0}, DWORD{MEM_TOP_DOWN}}) {
        // Small gaps that other mappings leave in a crowded range are filled first.
        void* const room = Reserve(64 * kMegabyte, direction);
        ASSERT_TRUE(Release(room));
        std::vector<void*> fillers = {Reserve(4 * kMegabyte, direction)};
        while (Number(fillers.back()) - Number(room) >= 64 * kMegabyte) {
            ASSERT_NE(fillers.back(), nullptr);
            fillers.push_back(Reserve(4 * kMegabyte, direction));
        }
        void* const blocks[] = {fillers.back(), Reserve(8 * kMegabyte, direction),
                                Reserve(4 * kMegabyte, direction)};
        fillers.pop_back();
        for (void* const block : blocks) {
            ASSERT_NE(block, nullptr);
            EXPECT_EQ(Number(block) % 0x10000, 0u);
            EXPECT_LE(Number(block) + 4 * kMegabyte, kFourGigabytes);
        }
        const bool upwards = direction == 0;
        const std::uint64_t lowest = Number(blocks[upwards ? 0 : 2]);
        EXPECT_EQ(Number(blocks[1]), lowest + 4 * kMegabyte);
        EXPECT_EQ(Number(blocks[upwards ? 2 : 0]), lowest + 12 * kMegabyte);

        EXPECT_TRUE(Release(blocks[1]));
        void* const tooLarge = Reserve(12 * kMegabyte, direction);
        EXPECT_NE(tooLarge, blocks[1]);
        void* const fitting = Reserve(4 * kMegabyte, direction);
        EXPECT_EQ(Number(fitting), Number(blocks[1]) + (upwards ? 0 : 4 * kMegabyte));
        fillers.insert(fillers.end(), {blocks[0], blocks[2], tooLarge, fitting});
        for (void* const block : fillers)
            EXPECT_TRUE(Release(block));
    }
    void* const low = Reserve(kMegabyte);
    void* const high = Reserve(kMegabyte, MEM_TOP_DOWN);
    EXPECT_LT(Number(low), Number(high));
    EXPECT_TRUE(Release(low));
    EXPECT_TRUE(Release(high));
}

TEST(VirtualMemory, QueryAndReleaseGoByReservation)
{
    const SIZE_T size = 4 * kMegabyte;
    auto* const block = static_cast<char*>(Reserve(size));
    ASSERT_NE(block, nullptr);
    MEMORY_BASIC_INFORMATION info;
    ASSERT_EQ(VirtualQuery(block, &info, sizeof info), sizeof info);
    EXPECT_EQ(info.State, MEM_RESERVE);

    ASSERT_EQ(Commit(block, size), block);
    block[0] = 1;
    block[size - 1] = 2;
    ASSERT_EQ(VirtualQuery(block + 2 * 0x10000 + 5, &info, sizeof info), sizeof info);
    EXPECT_TRUE(info.BaseAddress == block + 2 * 0x10000 && info.AllocationBase == block);
    EXPECT_EQ(info.RegionSize, size - 2 * 0x10000);
    EXPECT_TRUE(info.State == MEM_COMMIT && info.Protect == PAGE_READWRITE);

    EXPECT_FALSE(Release(block + 0x10000));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_ADDRESS);
    EXPECT_EQ(block[0] + block[size - 1], 3);
    EXPECT_TRUE(Release(block));
    EXPECT_FALSE(Release(block));
    // Desktop Windows knows of free memory too.
    for (const void* const nothing : {static_cast<const void*>(block), kNull}) {
        EXPECT_EQ(VirtualQuery(nothing, &info, sizeof info), OnHost<SIZE_T>(0, sizeof info));
        EXPECT_TRUE(!kOnWindows || info.State == kFree);
    }
}

// Desktop Windows commits parts, and may reserve and commit at once.
TEST(VirtualMemory, RefusesWhatItDoesNotOffer)
{
    constexpr DWORD kUnlikeDesktop = OnHost<DWORD>(ERROR_INVALID_ADDRESS, ERROR_SUCCESS);
    char* const block = static_cast<char*>(Reserve(2 * kMegabyte));
    const struct {
        void* address;
        SIZE_T size;
        DWORD type, protect, error;
    } rows[] = {
        {block, kMegabyte, MEM_COMMIT, PAGE_READWRITE, kUnlikeDesktop},
        {block + kMegabyte, kMegabyte, MEM_COMMIT, PAGE_READWRITE, kUnlikeDesktop},
        {nullptr, kMegabyte, MEM_COMMIT, PAGE_READWRITE, OnHost<DWORD>(487, 0)},
        {nullptr, 0, MEM_RESERVE, PAGE_NOACCESS, 87},
        {block, kMegabyte, MEM_RESERVE, PAGE_NOACCESS, OnHost<DWORD>(87, 487)},
        {nullptr, kMegabyte, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE, OnHost<DWORD>(87, 0)},
        {nullptr, SIZE_MAX, MEM_RESERVE, PAGE_NOACCESS, OnHost<DWORD>(8, 87)},
    };
    for (const auto& row : rows) {
        SetLastError(0);
        void* const memory = VirtualAlloc(row.address, row.size, row.type, row.protect);
        EXPECT_EQ(memory == nullptr, row.error != 0) << &row - rows;
        EXPECT_EQ(GetLastError(), row.error) << &row - rows;
        if (memory != nullptr && row.address == nullptr) {
            EXPECT_TRUE(Release(memory));
        }
    }
    EXPECT_TRUE(Release(block));
}

TEST(VirtualMemory, ExhaustionIsNullAndLeavesTheRangeUsable)
{
    for (const DWORD direction : {DWORD{0}, DWORD{MEM_TOP_DOWN}}) {
        std::vector<void*> blocks;
        while (void* const block = Reserve(64 * kMegabyte, direction))
            blocks.push_back(block);
        EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
        ASSERT_GE(blocks.size(), 20u);
        for (void* const block : blocks)
            EXPECT_TRUE(Release(block));
        void* const again = Reserve(64 * kMegabyte, direction);
        EXPECT_EQ(again, blocks.front());
        EXPECT_TRUE(Release(again));
    }
}

TEST(VirtualMemory, GoesAroundWhatOthersMapped)
{
    void* const place = Reserve(kMegabyte);
    ASSERT_TRUE(Release(place));
    auto* const foreign = static_cast<char*>(MapMemory(place, 4096));
    ASSERT_EQ(foreign, place);
    *foreign = 7;
    void* const beside = Reserve(kMegabyte);
    EXPECT_NE(beside, place);
    EXPECT_TRUE(Release(beside));
    EXPECT_EQ(*foreign, 7);

    // Once nothing else is left, the place is tried again.
    UnmapMemory(foreign, 4096);
    std::vector<void*> blocks;
    for (const SIZE_T size : {64 * kMegabyte, kMegabyte}) {
        while (void* const block = Reserve(size))
            blocks.push_back(block);
    }
    EXPECT_NE(std::find(blocks.begin(), blocks.end(), place), blocks.end());
    for (void* const block : blocks)
        EXPECT_TRUE(Release(block));
}

TEST(VirtualMemory, ThreadsGetDisjointMemory)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 200;
    std::vector<std::thread> threads;
    for (int number = 1; number <= kThreads; ++number) {
        threads.emplace_back([number] {
            const DWORD direction = number % 2 == 0 ? 0 : DWORD{MEM_TOP_DOWN};
            for (int round = 0; round < kRounds; ++round) {
                auto* const block = static_cast<char*>(Reserve(kMegabyte, direction));
                ASSERT_EQ(Commit(block, kMegabyte), block);
                std::memset(block, number, 4096);
                std::this_thread::yield();
                EXPECT_EQ(block[0] + block[4095], 2 * number);
                EXPECT_TRUE(Release(block));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(MemoryStatus, FiguresAreConsistent)
{
    MEMORYSTATUS before{};
    GlobalMemoryStatus(&before);
    EXPECT_EQ(before.dwLength, 32u);
    EXPECT_GT(before.dwAvailPhys, 0u);
    EXPECT_LE(before.dwAvailPhys, before.dwTotalPhys);
    EXPECT_LE(before.dwMemoryLoad, 100u);

    void* const block = Reserve(64 * kMegabyte);
    MEMORYSTATUS after{};
    GlobalMemoryStatus(&after);
    // A 64-bit program on desktop Windows has more than the record can count, and Wine does not
    // count what is reserved.
    EXPECT_EQ(before.dwAvailVirtual - after.dwAvailVirtual, OnHost<DWORD>(64 * kMegabyte, 0));
    EXPECT_TRUE(Release(block));
}

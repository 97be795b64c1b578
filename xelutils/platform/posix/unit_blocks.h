// Text in blocks of 16 bytes, by the compilers' portable vector types: no processor is named, and
// one without vector registers still gets whole words.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Blocks are taken apart and put together on the assumption that the low byte comes first.
static_assert(std::endian::native == std::endian::little);

using Bytes16 = std::uint8_t __attribute__((vector_size(16)));
using Bytes8 = std::uint8_t __attribute__((vector_size(8)));
using Units8 = std::uint16_t __attribute__((vector_size(16)));
// For looking at text in place. An alias declaration would lose these attributes in clang.
typedef Units8 AlignedText __attribute__((may_alias));
typedef Units8 UnalignedText __attribute__((may_alias, aligned(1)));

constexpr std::size_t kBytesPerBlock = 16;
constexpr std::size_t kUnitsPerBlock = 8;

// For functions that look for a terminator in aligned blocks: such a block never reaches into
// another page than its first byte, but it does reach behind the terminator.
#if defined(__clang__)
#define READS_WHOLE_BLOCKS __attribute__((no_sanitize("address", "thread", "memory")))
#else
#define READS_WHOLE_BLOCKS __attribute__((no_sanitize("address", "thread")))
#endif

template <class Block> Block LoadBlock(const void* source)
{
    Block block;
    std::memcpy(&block, source, sizeof block);
    return block;
}

template <class Block> void StoreBlock(void* target, Block block)
{
    std::memcpy(target, &block, sizeof block);
}

// Each byte as a unit. g++ has the faster form from version 12 on.
#if __has_builtin(__builtin_shufflevector)
inline Units8 WidenLowHalf(Bytes16 bytes)
{
    const Bytes16 zeros{};
    const Bytes16 units = __builtin_shufflevector(bytes, zeros, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20,
                                                  5, 21, 6, 22, 7, 23);
    return LoadBlock<Units8>(&units);
}
inline Units8 WidenHighHalf(Bytes16 bytes)
{
    const Bytes16 zeros{};
    const Bytes16 units = __builtin_shufflevector(bytes, zeros, 8, 24, 9, 25, 10, 26, 11, 27, 12,
                                                  28, 13, 29, 14, 30, 15, 31);
    return LoadBlock<Units8>(&units);
}
#else
inline Units8 WidenLowHalf(Bytes16 bytes)
{
    return __builtin_convertvector(LoadBlock<Bytes8>(&bytes), Units8);
}
inline Units8 WidenHighHalf(Bytes16 bytes)
{
    return __builtin_convertvector(
        LoadBlock<Bytes8>(reinterpret_cast<const char*>(&bytes) + sizeof(Bytes8)), Units8);
}
#endif

// True when any bit is set.
template <class Block> bool AnyBit(Block block)
{
    std::uint64_t words[2];
    static_assert(sizeof words == sizeof block);
    std::memcpy(words, &block, sizeof words);
    return (words[0] | words[1]) != 0;
}

// The result of a comparison with one byte for each of the eight units, the first one lowest.
template <class Condition> std::uint64_t UnitMask(Condition holds)
{
    const Bytes8 bytes = __builtin_convertvector(holds, Bytes8);
    std::uint64_t mask;
    std::memcpy(&mask, &bytes, sizeof mask);
    return mask;
}

// The index of the first byte that is set in a mask that is not zero.
inline std::size_t FirstInMask(std::uint64_t mask)
{
    return static_cast<std::size_t>(std::countr_zero(mask)) / 8;
}

// Calls `take` with the index of each byte that is set.
template <class Take> void ForEachInMask(std::uint64_t mask, Take take)
{
    while (mask != 0) {
        const std::size_t index = FirstInMask(mask);
        take(index);
        mask &= ~(std::uint64_t{0xFF} << index * 8);
    }
}

#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/case_tables.h"
#include "xelutils/platform/posix/unit_blocks.h"

namespace {

// A comparison's result, whose elements are signed, as a mask for units.
template <class Condition> Units8 AsUnits(Condition holds)
{
    return reinterpret_cast<const Units8&>(holds);
}

// True when the blocks are equal but for the case of units below U+0100, and hold no terminator.
bool SameButForLatinCase(Units8 first, Units8 second)
{
    constexpr std::uint16_t kDivisionSign = 0xF7;
    constexpr std::uint16_t kAccentedLetters = 0xE0;
    constexpr std::uint16_t kAccentedCount = 0xFF - kAccentedLetters;
    constexpr std::uint16_t kCaseBit = kAsciiCaseBit;
    const Units8 lower = first | kCaseBit;
    const Units8 letter =
        AsUnits((lower - std::uint16_t{'a'} < std::uint16_t{kLettersInAscii}) |
                ((lower - kAccentedLetters < kAccentedCount) & (lower != kDivisionSign)));
    const Units8 differing = first ^ second;
    return !AnyBit((differing & ~(letter & kCaseBit)) | AsUnits(first == 0));
}

// Whether a block at `unit` would reach into a page in which the text may have no part.
bool ReachesNextPage(const wchar_t* unit)
{
    // No host has smaller pages; on those with larger ones this only is too careful.
    constexpr std::uintptr_t kSmallestPage = 4096;
    return reinterpret_cast<std::uintptr_t>(unit) % kSmallestPage > kSmallestPage - sizeof(Units8);
}

unsigned FoldAscii(char byte)
{
    const unsigned value = static_cast<unsigned char>(byte);
    return value - 'A' < kLettersInAscii ? value + kAsciiCaseBit : value;
}

} // namespace

READS_WHOLE_BLOCKS int _wcsicmp(const wchar_t* first, const wchar_t* second)
{
    for (;; first += kUnitsPerBlock, second += kUnitsPerBlock) {
        if (!ReachesNextPage(first) && !ReachesNextPage(second)) {
            const Units8 one = *reinterpret_cast<const UnalignedText*>(first);
            const Units8 other = *reinterpret_cast<const UnalignedText*>(second);
            if (!AnyBit(AsUnits(one == 0) | (one ^ other)) || SameButForLatinCase(one, other))
                continue;
        }
        for (std::size_t i = 0; i < kUnitsPerBlock; ++i) {
            if (first[i] != second[i]) {
                const int difference = FoldCase(first[i]) - FoldCase(second[i]);
                if (difference != 0)
                    return difference;
            } else if (first[i] == 0) {
                return 0;
            }
        }
    }
}

int _stricmp(const char* first, const char* second)
{
    for (;; ++first, ++second) {
        const unsigned one = FoldAscii(*first);
        const unsigned other = FoldAscii(*second);
        if (one != other)
            return one < other ? -1 : 1;
        if (one == 0)
            return 0;
    }
}

#include "xelutils/platform/posix/wide_length.h"

#include "xelutils/platform/posix/unit_blocks.h"

namespace {

// A text at an odd address never falls on a block's start.
std::size_t LengthByUnit(const wchar_t* text)
{
    std::size_t length = 0;
    while (text[length] != 0)
        ++length;
    return length;
}

} // namespace

READS_WHOLE_BLOCKS std::size_t WideLength(const wchar_t* text)
{
    const auto address = reinterpret_cast<std::uintptr_t>(text);
    if (address % sizeof(wchar_t) != 0)
        return LengthByUnit(text);

    const std::size_t before = address % sizeof(Units8) / sizeof(wchar_t);
    auto block = reinterpret_cast<const AlignedText*>(address - address % sizeof(Units8));
    std::uint64_t zeros = UnitMask(*block == 0) & ~std::uint64_t{0} << before * 8;
    std::size_t seen = 0;
    while (zeros == 0) {
        seen += kUnitsPerBlock;
        zeros = UnitMask(*++block == 0);
    }
    return seen + FirstInMask(zeros) - before;
}

#include <algorithm>
#include <climits>

#include "xelutils/platform/fixed_cell_window.h"
#include "xelutils/platform/posix/cell_tables.h"
#include "xelutils/platform/posix/utf.h"

namespace {

bool Contains(const CharacterRange* ranges, std::size_t count, char32_t character)
{
    const CharacterRange* const end = ranges + count;
    const CharacterRange* const range =
        std::lower_bound(ranges, end, character,
                         [](const CharacterRange& each, char32_t c) { return each.last < c; });
    return range != end && range->first <= character;
}

int CellsOf(char32_t character)
{
    constexpr char32_t kFirstUnusual = 0x300;
    if (character < kFirstUnusual)
        return 1;
    if (Contains(kNoCell, kNoCellCount, character))
        return 0;
    return Contains(kTwoCells, kTwoCellsCount, character) ? 2 : 1;
}

} // namespace

int CellsOfText(const wchar_t* text, int length)
{
    const wchar_t* const end = text + std::max(length, 0);
    long long cells = 0;
    while (text != end)
        cells += CellsOf(TakeCharacter(text, end));
    return static_cast<int>(std::min<long long>(cells, INT_MAX));
}

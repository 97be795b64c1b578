// Masks against names, beside a table of which beginnings of the mask fit which of the name.
#include <vector>

#include "fuzz_input.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/wildcards.h"

namespace {

using Units = std::vector<wchar_t>;

// Few different units, so that they match each other; terminated.
Units Text(FuzzInput& input, unsigned most)
{
    static constexpr wchar_t kUnits[] = {'*', '?', 'a', 'A', 'b', '.', 0xE9, 0xC9, '*', 0xD83D};
    Units units;
    for (unsigned length = input.Byte() % (most + 1); length > 0 && !input.Empty(); --length)
        units.push_back(input.One(kUnits));
    units.push_back(0);
    return units;
}

bool SameUnit(wchar_t a, wchar_t b)
{
    const wchar_t first[] = {a, 0}, second[] = {b, 0};
    return _wcsicmp(first, second) == 0;
}

bool Fits(const Units& mask, const Units& name)
{
    static const Units kEveryName = {'*', '.', '*', 0};
    if (mask == kEveryName)
        return true;
    // fits[n]: the part of the mask so far takes the first n units of the name.
    std::vector<bool> fits(name.size());
    fits[0] = true;
    for (std::size_t m = 0; m + 1 < mask.size(); ++m) {
        std::vector<bool> next(name.size());
        for (std::size_t n = 0; n < name.size(); ++n) {
            if (mask[m] == '*')
                next[n] = fits[n] || (n > 0 && next[n - 1]);
            else if (n > 0)
                next[n] = fits[n - 1] && (mask[m] == '?' || SameUnit(mask[m], name[n - 1]));
        }
        fits = next;
    }
    return fits.back();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    const Units mask = Text(input, 20);
    const Units name = Text(input, 40);
    FUZZ_REQUIRE(MatchWildcard(mask.data(), name.data()) == Fits(mask, name));
    FUZZ_REQUIRE(!MatchesEveryName(mask.data()) || Fits(mask, name));
    return 0;
}

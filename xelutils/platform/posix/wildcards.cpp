#include "xelutils/platform/posix/wildcards.h"

#include "xelutils/platform/posix/case_tables.h"

bool HasWildcard(const wchar_t* mask)
{
    while (*mask != 0 && *mask != '*' && *mask != '?')
        ++mask;
    return *mask != 0;
}

bool MatchesEveryName(const wchar_t* mask)
{
    if (mask[0] != '*')
        return false;
    return mask[1] == 0 || (mask[1] == '.' && mask[2] == '*' && mask[3] == 0);
}

bool MatchWildcard(const wchar_t* mask, const wchar_t* name)
{
    if (MatchesEveryName(mask))
        return true;
    // Only the last star met is ever tried with more units: whatever an earlier one could take
    // in addition, the later one can take as well.
    const wchar_t* behindStar = nullptr;
    const wchar_t* behindTaken = nullptr;
    while (*name != 0) {
        if (*mask == '*') {
            behindStar = ++mask;
            behindTaken = name;
        } else if (*mask != 0 && (*mask == '?' || FoldCase(*mask) == FoldCase(*name))) {
            ++mask;
            ++name;
        } else if (behindStar != nullptr) {
            mask = behindStar;
            name = ++behindTaken;
        } else {
            return false;
        }
    }
    while (*mask == '*')
        ++mask;
    return *mask == 0;
}

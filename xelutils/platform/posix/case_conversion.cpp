#include <algorithm>
#include <cstring>

#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/case_tables.h"
#include "xelutils/platform/posix/wide_length.h"

wchar_t* _wcsupr(wchar_t* text)
{
    for (wchar_t* unit = text; *unit != 0; ++unit)
        *unit = UpperCase(*unit);
    return text;
}

wchar_t* _wcslwr(wchar_t* text)
{
    for (wchar_t* unit = text; *unit != 0; ++unit)
        *unit = LowerCase(*unit);
    return text;
}

wchar_t* _wcsrev(wchar_t* text)
{
    std::reverse(text, text + WideLength(text));
    return text;
}

char* _strupr(char* text)
{
    for (char* byte = text; *byte != 0; ++byte) {
        if (*byte >= 'a' && *byte <= 'z')
            *byte = static_cast<char>(*byte - 'a' + 'A');
    }
    return text;
}

char* _strlwr(char* text)
{
    for (char* byte = text; *byte != 0; ++byte) {
        if (*byte >= 'A' && *byte <= 'Z')
            *byte = static_cast<char>(*byte - 'A' + 'a');
    }
    return text;
}

char* _strrev(char* text)
{
    std::reverse(text, text + std::strlen(text));
    return text;
}

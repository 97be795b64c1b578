#include "xelutils/files/internal/entry_paths.h"

#include <algorithm>

namespace FileFuncsEx {

namespace {

// The way from the device's root to that of a host around it, where there is one.
constexpr wchar_t kHostFolder[] = L".host";

} // namespace

bool IsSeparator(wchar_t unit)
{
    return unit == '\\' || unit == '/';
}

xel_text::CXelStringT<wchar_t> WithoutClosingSeparators(xel_text::CXelStringT<wchar_t> path)
{
    int length = path.GetLength();
    while (length > 1 && IsSeparator(path[length - 1]) && path[length - 2] != ':')
        --length;
    if (length < path.GetLength())
        path.Truncate(length);
    return path;
}

bool Exists(const wchar_t* path)
{
    return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES;
}

bool NamesNoEntry(const wchar_t* path)
{
    const bool isRelative = !IsSeparator(path[0]);
    int depth = 0;
    bool isBelowHostFolder = false;
    for (;;) {
        while (IsSeparator(*path))
            ++path;
        if (*path == 0)
            break;
        const wchar_t* const start = path;
        while (*path != 0 && !IsSeparator(*path))
            ++path;
        const xel_text::CXelStringT<wchar_t> name(start, static_cast<int>(path - start));
        if (name == L"..")
            depth = std::max(depth - 1, 0);
        else if (name != L"." && ++depth == 1)
            isBelowHostFolder = !isRelative && name.CompareNoCase(kHostFolder) == 0;
    }
    return depth == 0 || (depth == 1 && isBelowHostFolder);
}

} // namespace FileFuncsEx

#include "xelutils/files/file_funcs_ex.h"

namespace FileFuncsEx {

namespace {

bool IsWanted(const WIN32_FIND_DATAW& entry, EFindFolder what)
{
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        return (what & eFindFiles) != 0;
    return (what & eFindFolders) != 0 && !IsDots(entry.cFileName);
}

} // namespace

int IsDots(const wchar_t* name)
{
    if (name == nullptr || name[0] != '.')
        return 0;
    return name[1] == 0 || (name[1] == '.' && name[2] == 0) ? 1 : 0;
}

void FindAllFilesInFolder(CXelArray<WIN32_FIND_DATAW, WIN32_FIND_DATAW&>& found, EFindFolder what,
                          const wchar_t* dir, const wchar_t* mask)
{
    const bool isNamed = dir != nullptr;
    // Made first: the texts may lie in a record that is about to go.
    CXelStringT<wchar_t> pattern = dir;
    pattern += L"\\*";
    pattern += mask;
    found.erase(found.begin(), found.end());

    WIN32_FIND_DATAW entry;
    const HANDLE listing = isNamed ? FindFirstFileW(pattern, &entry) : INVALID_HANDLE_VALUE;
    if (listing == INVALID_HANDLE_VALUE)
        return;
    do {
        if (IsWanted(entry, what))
            found.push_back(entry);
    } while (FindNextFileW(listing, &entry));
    FindClose(listing);
}

unsigned long CountFiles(const CXelStringT<wchar_t>& dir)
{
    WIN32_FIND_DATAW entry;
    const HANDLE listing = FindFirstFileW(dir + L"\\*.*", &entry);
    if (listing == INVALID_HANDLE_VALUE)
        return 0;
    // The first entry is not counted: callers rely on it.
    DWORD count = 0;
    while (FindNextFileW(listing, &entry))
        ++count;
    FindClose(listing);
    return count;
}

} // namespace FileFuncsEx

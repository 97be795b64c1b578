#include "xelutils/files/file_funcs.h"
#include "xelutils/files/file_funcs_ex.h"
#include "xelutils/files/internal/entry_paths.h"

namespace FileFuncsEx {

namespace {

bool ReadLastWrite(const wchar_t* path, FILETIME& lastWrite)
{
    return FileFuncs::xelGetFileTimes(path, nullptr, nullptr, &lastWrite);
}

} // namespace

bool GetPathSize(const wchar_t* path, unsigned long& size, unsigned long* sizeHigh)
{
    const HANDLE file =
        CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    DWORD high = 0;
    const DWORD low = GetFileSize(file, &high); // of the invalid handle INVALID_FILE_SIZE
    CloseHandle(file);                          // harmless on the invalid handle
    size = low;
    if (sizeHigh != nullptr)
        *sizeHigh = high;
    // A size with just these low bits cannot be told from a failure; callers rely on it.
    return low != INVALID_FILE_SIZE;
}

int CopyFromTo(const wchar_t* from, const wchar_t* to, int overwrite)
{
    if (from == nullptr || to == nullptr)
        return 0;
    if (overwrite == 0 && Exists(to))
        return 1;
    return CopyFileW(from, to, FALSE);
}

int CopyFromToCheckDate(const wchar_t* from, const wchar_t* to)
{
    if (from == nullptr || to == nullptr)
        return 0;
    if (!Exists(to))
        return CopyFileW(from, to, FALSE);
    if (!Exists(from))
        return 0;
    FILETIME fromTime;
    FILETIME toTime;
    if (!ReadLastWrite(from, fromTime) || !ReadLastWrite(to, toTime))
        return 1;
    return CompareFileTime(&fromTime, &toTime) == 1 ? CopyFileW(from, to, FALSE) : 1;
}

} // namespace FileFuncsEx

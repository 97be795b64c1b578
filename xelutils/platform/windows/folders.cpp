#include "xelutils/platform/windows/device_calls.h"

#undef RemoveDirectoryW

namespace device_calls {

namespace {

bool IsLink(DWORD attributes)
{
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// Not under Wine, which opens what the link leads to.
bool OpensAsLink(const wchar_t* path)
{
    const HANDLE link = CreateFileW(
        path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
        FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (link == INVALID_HANDLE_VALUE)
        return false;
    BY_HANDLE_FILE_INFORMATION information = {};
    const bool isLink = GetFileInformationByHandle(link, &information) != FALSE &&
                        IsLink(information.dwFileAttributes);
    CloseHandle(link);
    return isLink;
}

} // namespace

BOOL RemoveFolder(const wchar_t* path)
{
    if (IsLink(GetFileAttributesW(path)) && !OpensAsLink(path)) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    return ::RemoveDirectoryW(path);
}

} // namespace device_calls

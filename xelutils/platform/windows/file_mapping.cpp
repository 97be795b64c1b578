#include "xelutils/platform/windows/device_calls.h"

#undef CreateFileMappingW

namespace device_calls {

namespace {

constexpr ULONGLONG kZerosBehindFile = 4;

bool ReadWhole(HANDLE file, unsigned char* target, ULONGLONG size)
{
    constexpr DWORD kMostAtOnce = 1 << 30;
    ULONGLONG position = 0;
    while (position < size) {
        OVERLAPPED place = {};
        place.Offset = static_cast<DWORD>(position);
        place.OffsetHigh = static_cast<DWORD>(position >> 32);
        const ULONGLONG left = size - position;
        DWORD got = 0;
        if (!ReadFile(file, target + position,
                      left < kMostAtOnce ? static_cast<DWORD>(left) : kMostAtOnce, &got, &place))
            return false;
        position += got;
    }
    return true;
}

// A mapping of memory that holds the bytes of the file, and more.
HANDLE MapCopy(HANDLE file, ULONGLONG fileSize)
{
    const ULONGLONG size = fileSize + kZerosBehindFile;
    const HANDLE mapping =
        ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                             static_cast<DWORD>(size >> 32), static_cast<DWORD>(size), nullptr);
    if (mapping == nullptr)
        return nullptr;
    auto* const view = static_cast<unsigned char*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0));
    const bool isRead = view != nullptr && ReadWhole(file, view, fileSize);
    const DWORD error = GetLastError();
    if (view != nullptr)
        UnmapViewOfFile(view);
    if (isRead)
        return mapping;
    CloseHandle(mapping);
    SetLastError(error);
    return nullptr;
}

} // namespace

HANDLE MapFile(HANDLE file, SECURITY_ATTRIBUTES* security, DWORD protect, DWORD sizeHigh,
               DWORD sizeLow, const wchar_t* name)
{
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    LARGE_INTEGER size;
    if (!GetFileSizeEx(file, &size))
        return nullptr;
    const auto fileSize = static_cast<ULONGLONG>(size.QuadPart);
    const ULONGLONG inLastPage = fileSize % info.dwPageSize;
    const ULONGLONG zeros = inLastPage == 0 ? 0 : info.dwPageSize - inLastPage;
    if (fileSize != 0 && zeros < kZerosBehindFile)
        return MapCopy(file, fileSize);
    return ::CreateFileMappingW(file, security, protect, sizeHigh, sizeLow, name);
}

} // namespace device_calls

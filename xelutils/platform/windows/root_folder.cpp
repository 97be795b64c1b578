#include "xelutils/platform/root_folder.h"

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <string>

namespace {

// What GetFinalPathNameByHandleW puts in front of every path.
constexpr wchar_t kPrefix[] = L"\\\\?\\";

// \\?\C:\a\b, with all links followed; empty when nothing is there.
std::wstring FinalPath(const wchar_t* path)
{
    const HANDLE file = CreateFileW(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return {};
    std::wstring text(GetFinalPathNameByHandleW(file, nullptr, 0, 0), L'\0');
    const DWORD length =
        GetFinalPathNameByHandleW(file, text.data(), static_cast<DWORD>(text.size()), 0);
    text.resize(length < text.size() ? length : 0);
    CloseHandle(file);
    return text;
}

} // namespace

bool IsRootFolder(const wchar_t* path)
{
    if (path == nullptr || *path == 0)
        return true;
    const std::wstring final = FinalPath(path);
    constexpr std::size_t kPrefixLength = std::size(kPrefix) - 1;
    if (final.size() < kPrefixLength || final.compare(0, kPrefixLength, kPrefix) != 0)
        return false;
    // C:\ of a drive; a share of another computer is UNC\server\share, with nothing behind it.
    const std::wstring name = final.substr(kPrefixLength);
    if (name.compare(0, 4, L"UNC\\") == 0)
        return std::count(name.begin(), name.end(), L'\\') <= 2;
    return name.size() == 3 && name[1] == L':';
}

#include "tools/xelini/windows/paths.h"

#include "xelutils/text/xel_utf.h"

namespace xelini {

namespace {

std::wstring toWide(const std::string& text)
{
    const xel_text::CXelStringT<wchar_t> wide = xel_text::FromUtf8(text);
    return {wide.begin(), wide.end()};
}

std::string toUtf8(const std::wstring& text)
{
    return xel_text::ToUtf8({text.data(), static_cast<int>(text.size())});
}

// Calls the system with a buffer of the size that it asks for; empty when it fails.
template <class Call> std::wstring textOf(Call call)
{
    std::wstring text(call(nullptr, 0), L'\0');
    const DWORD length = call(text.data(), static_cast<DWORD>(text.size()));
    text.resize(length < text.size() ? length : 0);
    return text;
}

std::wstring fullWide(const std::string& path)
{
    const std::wstring given = toWide(path);
    const std::wstring full = textOf([&](wchar_t* buffer, DWORD size) {
        return GetFullPathNameW(given.c_str(), size, buffer, nullptr);
    });
    return full.empty() ? given : full;
}

} // namespace

std::wstring widePath(const std::string& path)
{
    const std::wstring full = fullWide(path);
    // Behind this prefix paths may be longer, but the system takes them as they stand.
    if (full.size() < MAX_PATH || full.starts_with(L"\\\\?\\"))
        return path.empty() ? std::wstring() : full;
    return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

std::string fullPath(const std::string& path)
{
    return toUtf8(fullWide(path));
}

std::string finalPath(HostFile::Number file)
{
    return toUtf8(textOf([&](wchar_t* buffer, DWORD size) {
        return GetFinalPathNameByHandleW(handleOf(file), buffer, size, 0);
    }));
}

HostFile openSharing(const std::string& path, DWORD access, DWORD share)
{
    const HANDLE file = CreateFileW(widePath(path).c_str(), access, share, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    return HostFile(numberOf(file), path);
}

HostFile openShared(const std::string& path, DWORD access)
{
    return openSharing(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
}

} // namespace xelini

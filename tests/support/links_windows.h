#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "xelutils/platform/coredll.h"

inline bool IsLinkThere(const std::string& path)
{
    const DWORD attributes = GetFileAttributesW(std::filesystem::path(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// Of a file in the file system around Wine; empty on Windows itself.
inline std::string NameAroundWine(const std::string& path)
{
    using UnixName = char*(CDECL*)(const wchar_t*);
    const auto unixName = reinterpret_cast<UnixName>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"kernel32"), "wine_get_unix_file_name")));
    char* const name = unixName ? unixName(std::filesystem::path(path).c_str()) : nullptr;
    const std::string copy = name ? name : "";
    HeapFree(GetProcessHeap(), 0, name);
    return copy;
}

// By the system's calls. Wine takes what the link leads to for the link.
inline const bool kLinksCanBeRemoved = NameAroundWine(".").empty();

// Has a program around Wine make or remove a link. Wine does not tell when such a program ends.
inline void RunAroundWine(const std::string& program, std::string command, const std::string& link)
{
    const bool wasLink = IsLinkThere(link);
    command = program + command + " \"" + NameAroundWine(link) + '"';
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    CreateProcessA(("\\\\?\\unix\\bin\\" + program).c_str(), command.data(), nullptr, nullptr,
                   FALSE, 0, nullptr, nullptr, &startup, &process);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    constexpr DWORD kTimeoutMs = 20000;
    for (const DWORD start = GetTickCount(); IsLinkThere(link) == wasLink; Sleep(1)) {
        if (GetTickCount() - start > kTimeoutMs)
            throw std::runtime_error("without success: " + command);
    }
}

// All that were made.
inline std::vector<std::string>& LinksOfTests()
{
    static std::vector<std::string> links;
    return links;
}

inline void MakeFolderLink(const std::string& target, const std::string& link)
{
    const std::filesystem::path to = target;
    LinksOfTests().push_back(link);
    // Wine says that it made one, and makes none.
    CreateSymbolicLinkW(std::filesystem::path(link).c_str(), to.c_str(),
                        SYMBOLIC_LINK_FLAG_DIRECTORY);
    if (!IsLinkThere(link))
        RunAroundWine("ln", " -s \"" + (to.is_absolute() ? NameAroundWine(target) : target) + '"',
                      link);
}

// Wine shows a link to a file as that file, and none where a link leads nowhere: tests do without.
inline void MakeFileLink(const std::string&, const std::string&) {}
inline void MakeFifo(const std::string&) {}

// The folder at the end of all links.
inline std::string TargetOfLink(const std::string& path)
{
    return std::filesystem::canonical(path).generic_string();
}

inline void RemoveLink(const std::string& path)
{
    if (kLinksCanBeRemoved)
        RemoveDirectoryW(std::filesystem::path(path).c_str());
    else
        RunAroundWine("rm", "", path);
}

// The C++ library takes links to folders for folders, and would remove what lies behind them.
inline void RemoveLinksBelow(const std::string& path)
{
    std::erase_if(LinksOfTests(), [&path](const std::string& link) {
        if (!link.starts_with(path))
            return false;
        if (IsLinkThere(link))
            RemoveLink(link);
        return true;
    });
}

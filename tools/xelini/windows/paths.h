// Paths and handles of Windows.
#pragma once

#include <windows.h>

#include <string>

#include "tools/xelini/host_file.h"

namespace xelini {

inline HANDLE handleOf(HostFile::Number number)
{
    return reinterpret_cast<HANDLE>(number);
}

inline HostFile::Number numberOf(HANDLE handle)
{
    return reinterpret_cast<HostFile::Number>(handle);
}

// For the system's calls, however long it is; "/" and "\" both separate.
std::wstring widePath(const std::string& path);

// The full path in UTF-8, whether anything is there or not.
std::string fullPath(const std::string& path);

// Where the open file stands, behind all links; in UTF-8. Empty when it is no file on a disk.
std::string finalPath(HostFile::Number file);

// An existing file or folder, behind links; `share` is what others may do with it meanwhile. Not
// open when it fails.
HostFile openSharing(const std::string& path, DWORD access, DWORD share);
// Others may do what they like.
HostFile openShared(const std::string& path, DWORD access);

} // namespace xelini

// The device's calls on desktop Windows: the system's own, and the few that it lacks.
#pragma once

// Macros that break std::min and std::max, and all that only large programs need.
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>

// Only the library itself sees what stands in for calls that desktop Windows answers otherwise: a
// program that includes this header keeps the system's own.
#if defined(XELUTILS_DEVICE_CALLS)
#include "xelutils/platform/windows/device_calls.h"
#endif

constexpr DWORD IOCTL_DISK_GET_STORAGEID = 0x71C24;

// The system's own files can be mapped as they are.
inline HANDLE CreateFileForMappingW(const wchar_t* name, DWORD access, DWORD share,
                                    SECURITY_ATTRIBUTES* security, DWORD creation, DWORD attributes,
                                    HANDLE templateFile)
{
    return CreateFileW(name, access, share, security, creation, attributes, templateFile);
}

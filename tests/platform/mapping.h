// Mapping a file, as tests do it.
#pragma once

#include "xelutils/platform/coredll.h"

inline HANDLE OpenForMapping(const wchar_t* name)
{
    return CreateFileForMappingW(name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                 FILE_ATTRIBUTE_NORMAL, nullptr);
}

inline HANDLE Map(HANDLE file)
{
    return CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
}

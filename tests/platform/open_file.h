// Opening a file to see whether it can be opened.
#pragma once

#include <gtest/gtest.h>

#include "xelutils/platform/coredll.h"

constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

inline HANDLE Open(const wchar_t* name, DWORD creation, DWORD access = kReadWrite,
                   DWORD share = FILE_SHARE_READ)
{
    SetLastError(0);
    return CreateFileW(name, access, share, nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Opens and closes; the last error, which is 0 after most successes.
inline DWORD ErrorOfOpening(const wchar_t* name, DWORD creation, DWORD access = kReadWrite)
{
    const HANDLE file = Open(name, creation, access);
    const DWORD error = GetLastError();
    EXPECT_EQ(file != INVALID_HANDLE_VALUE && CloseHandle(file),
              error == 0 || error == ERROR_ALREADY_EXISTS);
    return error;
}

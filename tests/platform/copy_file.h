// CopyFileW, as tests call it.
#pragma once

#include <filesystem>
#include <gtest/gtest.h>

#include "support/test_folder.h"
#include "xelutils/platform/coredll.h"

// 0 for success.
inline DWORD Copy(const wchar_t* from, const wchar_t* to, BOOL failIfExists = FALSE)
{
    SetLastError(0);
    const BOOL done = CopyFileW(from, to, failIfExists);
    EXPECT_EQ(done != 0, GetLastError() == 0);
    return GetLastError();
}

inline std::ptrdiff_t CountEntries(const TestFolder& folder)
{
    return std::distance(std::filesystem::directory_iterator(folder.HostPath("")), {});
}

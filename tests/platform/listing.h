// What FindFirstFileW and FindNextFileW list, for tests.
#pragma once

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "xelutils/platform/coredll.h"

inline std::u16string NameOf(const WIN32_FIND_DATAW& data)
{
    const auto* const end = std::find(std::begin(data.cFileName), std::end(data.cFileName), 0);
    return {std::begin(data.cFileName), end};
}

inline std::vector<WIN32_FIND_DATAW> List(const wchar_t* name)
{
    std::vector<WIN32_FIND_DATAW> records(1);
    SetLastError(0);
    const HANDLE listing = FindFirstFileW(name, &records[0]);
    if (listing == INVALID_HANDLE_VALUE)
        return {};
    EXPECT_EQ(GetLastError(), 0u);
    WIN32_FIND_DATAW record;
    while (FindNextFileW(listing, &record))
        records.push_back(record);
    EXPECT_EQ(GetLastError(), ERROR_NO_MORE_FILES);
    EXPECT_FALSE(FindNextFileW(listing, &record)) << "stays at the end";
    EXPECT_TRUE(FindClose(listing));
    return records;
}

// Sorted, with a space between them.
inline std::u16string Names(const wchar_t* name)
{
    std::vector<std::u16string> names;
    for (const WIN32_FIND_DATAW& record : List(name))
        names.push_back(NameOf(record));
    std::sort(names.begin(), names.end());
    std::u16string all;
    for (const std::u16string& one : names)
        all += (all.empty() ? u"" : u" ") + one;
    return all;
}

inline DWORD ErrorOf(const wchar_t* name)
{
    WIN32_FIND_DATAW data;
    SetLastError(0);
    EXPECT_EQ(FindFirstFileW(name, &data), INVALID_HANDLE_VALUE);
    return GetLastError();
}

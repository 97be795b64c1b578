// Libraries that are not to be loaded.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/test_folder.h"
#include "xelutils/platform/coredll.h"

struct NoLibrary {
    xel_text::CXelStringT<wchar_t> name;
    DWORD error;
};

inline void ExpectNotLoaded(const std::vector<NoLibrary>& rows)
{
    for (const NoLibrary& row : rows) {
        SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(LoadLibraryW(row.name), nullptr) << xel_text::ToUtf8(row.name);
        EXPECT_EQ(GetLastError(), row.error) << xel_text::ToUtf8(row.name);
    }
}

inline std::string BytesOfPlugin()
{
    std::ifstream file(TEST_PLUGIN, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

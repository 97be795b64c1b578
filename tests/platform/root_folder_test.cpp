#include <gtest/gtest.h>

#include "support/target.h"
#include "support/test_folder.h"
#include "xelutils/platform/root_folder.h"

TEST(RootFolder, IsKnownByItsNames)
{
    const TestFolder folder;
    folder.Write("file", "");
    const struct {
        xel_text::CXelStringT<wchar_t> path;
        bool isRoot;
    } rows[] = {
        {L"", true},
        {L"\\", true},
        {L"/", true},
        {L"\\.", true},
        {L"\\a\\..", true},
        // Windows has one for each drive.
        {L"C:\\", kOnWindows},
        {L"no such folder", false},
        {folder.Path(""), false},
        {folder.Path("file"), false},
    };
    EXPECT_TRUE(IsRootFolder(nullptr));
    for (const auto& row : rows)
        EXPECT_EQ(IsRootFolder(row.path), row.isRoot) << testing::PrintToString(row.path);
}

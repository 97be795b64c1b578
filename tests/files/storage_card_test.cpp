#include <gtest/gtest.h>

#include "support/test_folder.h"
#include "xelutils/files/file_funcs_ex.h"

using namespace FileFuncsEx;

TEST(StorageCard, WhatHasNoVolumeIsOnNone)
{
    const TestFolder folder;
    // A file is no volume, whatever its name.
    folder.Write("vol", "");
    EXPECT_EQ(IsPathOnFlashCard(nullptr), 0);
    EXPECT_EQ(IsPathOnFlashCard(L""), 0);
    EXPECT_EQ(IsPathOnFlashCard(L"\\"), 0);
    EXPECT_EQ(IsPathOnFlashCard(L"\\no such folder\\x"), 0);
    EXPECT_EQ(IsPathOnFlashCard(folder.Path("")), 0);
    EXPECT_EQ(IsPathOnFlashCard(folder.Path("vol")), 0);
}

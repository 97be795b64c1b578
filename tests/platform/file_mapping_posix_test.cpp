#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "platform/mapping.h"
#include "support/test_folder.h"

TEST(FileMapping, PictureAndSizeStayWhenTheFileChanges)
{
    const TestFolder folder;
    const HANDLE file = OpenForMapping(folder.Write("a", std::string(10000, 'x')));
    const HANDLE mapping = Map(file);
    const auto* const early =
        static_cast<const char*>(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0));
    std::filesystem::resize_file(folder.HostPath("a"), 3);
    const auto* const late =
        static_cast<const char*>(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0));
    std::filesystem::resize_file(folder.HostPath("a"), 20000);
    EXPECT_EQ(std::string_view(early, 10000), std::string(10000, 'x'));
    EXPECT_EQ(std::string_view(late, 10004), "xxx" + std::string(10001, '\0'));
    EXPECT_EQ(GetFileSize(file, nullptr), 10000u);
    EXPECT_TRUE(UnmapViewOfFile(early));
    EXPECT_TRUE(UnmapViewOfFile(late));
    CloseHandle(mapping);
    CloseHandle(file);
}

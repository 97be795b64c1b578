#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "platform/mapping.h"
#include "support/target.h"
#include "support/test_folder.h"

TEST(FileMapping, HoldsTheFileAndFourZeros)
{
    const TestFolder folder;
    for (const std::size_t size : {1u, 2u, 4095u, 4096u, 4097u, 65532u, 65536u}) {
        const std::string content(size, 'x');
        const HANDLE file = OpenForMapping(folder.Write("a", content));
        const HANDLE mapping = Map(file);
        const auto* const view =
            static_cast<const char*>(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0));
        ASSERT_NE(view, nullptr);
        EXPECT_EQ(GetFileSize(file, nullptr), size);
        EXPECT_EQ(std::string_view(view, size + 4), content + std::string(4, '\0'));
        // Handles may go before the view does.
        EXPECT_TRUE(CloseHandle(file));
        EXPECT_TRUE(CloseHandle(mapping));
        EXPECT_EQ(view[size - 1], 'x');
        EXPECT_TRUE(UnmapViewOfFile(view));
        EXPECT_FALSE(UnmapViewOfFile(view));
    }
    EXPECT_FALSE(UnmapViewOfFile(nullptr));
}

TEST(FileMapping, Refusals)
{
    const TestFolder folder;
    EXPECT_EQ(OpenForMapping(folder.Path("missing")), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);

    const HANDLE empty = OpenForMapping(folder.Write("empty", ""));
    EXPECT_EQ(Map(empty), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_FILE_INVALID);
    CloseHandle(empty);

    const HANDLE plain = CreateFileW(folder.Write("a", "x"), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                     OPEN_EXISTING, 0, nullptr);
    // The system's own files can be mapped as they are.
    const HANDLE mapped = Map(plain);
    EXPECT_EQ(mapped != nullptr, kOnWindows);
    EXPECT_EQ(CloseHandle(mapped), kOnWindows);
    EXPECT_EQ(MapViewOfFile(plain, FILE_MAP_READ, 0, 0, 0), nullptr);
    CloseHandle(plain);
    EXPECT_EQ(Map(INVALID_HANDLE_VALUE), nullptr);

    const HANDLE file = OpenForMapping(folder.Path("a"));
    EXPECT_EQ(CreateFileMappingW(file, nullptr, PAGE_READWRITE, 0, 0, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), OnHost(ERROR_INVALID_PARAMETER, ERROR_ACCESS_DENIED));
    CloseHandle(file);
}

// Folders and attributes where they depend on how POSIX plays the device.
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "platform/zoo.h"

namespace fs = std::filesystem;

TEST(Folders, ReadOnlyIsTheOneAttributeThatChanges)
{
    const Zoo zoo;
    const struct {
        const char* rule;
        const char* name;
        unsigned before;
        BOOL (*call)(const wchar_t*);
        unsigned after;
        DWORD error;
    } rows[] = {
        {"set, for everybody", "file", 0777, MakeReadOnly, 0555, 0},
        {"set again", "file", 0400, MakeReadOnly, 0400, 0},
        {"cleared for the owner", "FILE", 0444, MakeWritable, 0644, 0},
        {"nothing to clear", "file", 0422, MakeWritable, 0422, 0},
        {"never of a folder", "empty", 0755, MakeReadOnly, 0755, 0},
        {"of a folder nobody may write to", "empty", 0555, MakeWritable, 0555, 0},
        {"cleared of a link: of nothing", "to-file", 0444, MakeWritable, 0444, 0},
        {"a link cannot be", "to-file", 0444, MakeReadOnly, 0444, ERROR_ACCESS_DENIED},
        {"nor one to a folder", "to-folder", 0755, MakeReadOnly, 0755, ERROR_ACCESS_DENIED},
    };
    for (const auto& row : rows) {
        fs::permissions(zoo.HostPath(row.name) == zoo.HostPath("FILE") ? zoo.HostPath("file")
                                                                       : zoo.HostPath(row.name),
                        static_cast<fs::perms>(row.before));
        EXPECT_EQ(ErrorOf(row.call, zoo.Path(row.name)), row.error) << row.rule;
        EXPECT_EQ(Permissions(zoo.HostPath(row.name == std::string("FILE") ? "file" : row.name)),
                  row.after)
            << row.rule;
    }
    EXPECT_EQ(ErrorOf(MakeReadOnly, zoo.Path("dangling")), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(zoo.OutsideIsUntouched());
}

TEST(Folders, NoBaseOfPathsIsRemoved)
{
    for (const wchar_t* const base : {L"\\", L".", L"\\.host", L"\\a\\.."})
        EXPECT_EQ(ErrorOf(RemoveDirectoryW, base), ERROR_ACCESS_DENIED);
    EXPECT_EQ(ErrorOf(DeleteFileW, L"\\\\"), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(GetFileAttributesW(L"\\"), FILE_ATTRIBUTE_DIRECTORY);
    for (const auto call : {DeleteFileW, RemoveDirectoryW, Create, MakeWritable})
        EXPECT_EQ(ErrorOf(call, L"\\\xDC00"), ERROR_INVALID_NAME);
}

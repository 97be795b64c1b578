// What calls that change files and folders may meet.
#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "support/test_folder.h"
#include "xelutils/platform/coredll.h"

// 0 for success.
inline DWORD ErrorOf(BOOL (*call)(const wchar_t*), const wchar_t* name)
{
    SetLastError(0);
    const BOOL done = call(name);
    EXPECT_EQ(done != 0, GetLastError() == 0);
    return GetLastError();
}

// With the calling convention of the tests, which is not everywhere that of the system.
inline BOOL DeleteOneFile(const wchar_t* name)
{
    return DeleteFileW(name);
}

inline BOOL RemoveOneFolder(const wchar_t* name)
{
    return RemoveDirectoryW(name);
}

inline BOOL Create(const wchar_t* name)
{
    return CreateDirectoryW(name, nullptr);
}

inline BOOL MakeReadOnly(const wchar_t* name)
{
    return SetFileAttributesW(name, FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_NORMAL);
}

inline BOOL MakeWritable(const wchar_t* name)
{
    return SetFileAttributesW(name, FILE_ATTRIBUTE_ARCHIVE);
}

inline unsigned Permissions(const std::string& hostPath)
{
    return static_cast<unsigned>(std::filesystem::status(hostPath).permissions());
}

// Everything that these calls may meet, with files behind links.
struct Zoo : TestFolder {
    Zoo()
    {
        for (const char* const name : {"empty", "Full", "behind"})
            std::filesystem::create_directory(HostPath(name));
        for (const char* const name : {"Full/a", "behind/a", "file", "fixed", "target"})
            Write(name, "x");
        for (const char* const name : {"fixed", "target"})
            std::filesystem::permissions(HostPath(name), std::filesystem::perms(0444));
        MakeFolderLink("behind", HostPath("to-folder"));
        MakeFileLink("target", HostPath("to-file"));
        MakeFileLink("nowhere", HostPath("dangling"));
        MakeFifo(HostPath("fifo"));
    }
    bool Exists(const char* name) const
    {
        return std::filesystem::symlink_status(HostPath(name)).type() !=
               std::filesystem::file_type::not_found;
    }
    bool OutsideIsUntouched() const
    {
        return std::filesystem::is_regular_file(HostPath("behind/a")) &&
               Permissions(HostPath("target")) == 0444 && Read("target") == "x" &&
               !Exists("nowhere");
    }
};

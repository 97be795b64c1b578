#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "support/test_folder.h"
#include "xelutils/platform/coredll.h"

namespace fs = std::filesystem;

namespace {

// 0 for success.
DWORD ErrorOf(BOOL (*call)(const wchar_t*), const wchar_t* name)
{
    SetLastError(0);
    const BOOL done = call(name);
    EXPECT_EQ(done != 0, GetLastError() == 0);
    return GetLastError();
}

BOOL Create(const wchar_t* name)
{
    return CreateDirectoryW(name, nullptr);
}

BOOL MakeReadOnly(const wchar_t* name)
{
    return SetFileAttributesW(name, FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_NORMAL);
}

BOOL MakeWritable(const wchar_t* name)
{
    return SetFileAttributesW(name, FILE_ATTRIBUTE_ARCHIVE);
}

unsigned Permissions(const std::string& hostPath)
{
    struct stat status;
    EXPECT_EQ(stat(hostPath.c_str(), &status), 0) << hostPath;
    return status.st_mode & 07777;
}

// Everything that these calls may meet, with files behind links.
struct Zoo : TestFolder {
    Zoo()
    {
        for (const char* const name : {"empty", "Full", "behind"})
            fs::create_directory(HostPath(name));
        for (const char* const name : {"Full/a", "behind/a", "file", "fixed", "target"})
            Write(name, "x");
        chmod(HostPath("fixed").c_str(), 0444);
        chmod(HostPath("target").c_str(), 0444);
        fs::create_directory_symlink("behind", HostPath("to-folder"));
        fs::create_symlink("target", HostPath("to-file"));
        fs::create_symlink("nowhere", HostPath("dangling"));
        mkfifo(HostPath("fifo").c_str(), 0600);
    }
    bool Exists(const char* name) const
    {
        return fs::symlink_status(HostPath(name)).type() != fs::file_type::not_found;
    }
    bool OutsideIsUntouched() const
    {
        return fs::is_regular_file(HostPath("behind/a")) &&
               Permissions(HostPath("target")) == 0444 && Read("target") == "x" &&
               !Exists("nowhere");
    }
};

} // namespace

TEST(Folders, WhatCanBeRemovedByWhichCall)
{
    const struct {
        const char* name;
        DWORD deleteFile;
        DWORD removeDirectory;
    } rows[] = {
        {"empty", ERROR_ACCESS_DENIED, 0},
        {"EMPTY/", ERROR_PATH_NOT_FOUND, 0},
        {"full", ERROR_ACCESS_DENIED, ERROR_DIR_NOT_EMPTY},
        {"file", 0, ERROR_DIRECTORY},
        {"FILE", 0, ERROR_DIRECTORY},
        {"fixed", ERROR_ACCESS_DENIED, ERROR_DIRECTORY},
        {"fifo", 0, ERROR_DIRECTORY},
        {"to-folder", 0, ERROR_DIRECTORY},
        {"to-folder/", ERROR_PATH_NOT_FOUND, ERROR_DIRECTORY},
        {"to-file", 0, ERROR_DIRECTORY},
        {"dangling", 0, ERROR_DIRECTORY},
        {"DANGLING", 0, ERROR_DIRECTORY},
        {"file/", ERROR_PATH_NOT_FOUND, ERROR_DIRECTORY},
        {"missing", ERROR_FILE_NOT_FOUND, ERROR_FILE_NOT_FOUND},
        {"missing/a", ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND},
        {"file/a", ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND},
    };
    for (const auto& row : rows) {
        const auto check = [&row](BOOL (*call)(const wchar_t*), DWORD error) {
            const Zoo zoo;
            const auto count = [&zoo] {
                return std::distance(fs::directory_iterator(zoo.HostPath("")), {});
            };
            const auto before = count();
            EXPECT_EQ(ErrorOf(call, zoo.Path(row.name)), error) << row.name;
            EXPECT_EQ(count(), before - (error == 0 ? 1 : 0)) << row.name;
            EXPECT_TRUE(zoo.OutsideIsUntouched()) << row.name;
        };
        check(DeleteFileW, row.deleteFile);
        check(RemoveDirectoryW, row.removeDirectory);
    }
    for (const auto call : {DeleteFileW, RemoveDirectoryW, Create, MakeWritable}) {
        EXPECT_EQ(ErrorOf(call, L""), ERROR_PATH_NOT_FOUND);
        EXPECT_EQ(ErrorOf(call, nullptr), ERROR_PATH_NOT_FOUND);
        EXPECT_EQ(ErrorOf(call, L"\\\xDC00"), ERROR_INVALID_NAME);
    }
    for (const wchar_t* const base : {L"\\", L".", L"\\.host", L"\\a\\.."})
        EXPECT_EQ(ErrorOf(RemoveDirectoryW, base), ERROR_ACCESS_DENIED);
    EXPECT_EQ(ErrorOf(DeleteFileW, L"\\\\"), ERROR_PATH_NOT_FOUND);
}

TEST(Folders, Creating)
{
    const Zoo zoo;
    const struct {
        const char* name;
        DWORD error;
        const char* made;
    } rows[] = {
        {"new", 0, "new"},
        {"slashes//", 0, "slashes"},
        {"fuLL/B", 0, "Full/B"},
        {"to-folder/B", 0, "behind/B"},
        {"Empty", ERROR_ALREADY_EXISTS, nullptr},
        {"FILE", ERROR_ALREADY_EXISTS, nullptr},
        {"dangling", ERROR_ALREADY_EXISTS, nullptr},
        {"Dangling", ERROR_ALREADY_EXISTS, nullptr},
        {".", ERROR_ALREADY_EXISTS, nullptr},
        {"missing/B", ERROR_PATH_NOT_FOUND, nullptr},
        {"file/B", ERROR_PATH_NOT_FOUND, nullptr},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ErrorOf(Create, zoo.Path(row.name)), row.error) << row.name;
        if (row.made != nullptr) {
            EXPECT_TRUE(fs::is_directory(zoo.HostPath(row.made))) << row.name;
            EXPECT_EQ(GetFileAttributesW(zoo.Path(row.name)), FILE_ATTRIBUTE_DIRECTORY);
        }
    }
    EXPECT_EQ(ErrorOf(Create, zoo.Path(std::string(256, 'x'))), ERROR_FILENAME_EXCED_RANGE);
    EXPECT_EQ(ErrorOf(Create, L"\\"), ERROR_ALREADY_EXISTS);
    EXPECT_FALSE(zoo.Exists("nowhere"));
}

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
    EXPECT_EQ(ErrorOf(MakeWritable, zoo.Path("missing")), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ErrorOf(MakeReadOnly, zoo.Path("dangling")), ERROR_ACCESS_DENIED);
    EXPECT_EQ(GetFileAttributesW(zoo.Path("missing")), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(GetFileAttributesW(zoo.Path("no/file")), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(GetFileAttributesW(zoo.Path("file/")), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(GetFileAttributesW(L"\\"), FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_TRUE(zoo.OutsideIsUntouched());
}

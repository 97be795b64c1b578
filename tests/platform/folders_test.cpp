#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/zoo.h"
#include "support/target.h"

namespace fs = std::filesystem;

TEST(Folders, WhatCanBeRemovedByWhichCall)
{
    struct Row {
        const char* name;
        DWORD deleteFile;
        DWORD removeDirectory;
    };
    // For a link to a folder Windows has RemoveDirectoryW; Wine has none.
    std::vector<Row> rows = {
        {"empty", ERROR_ACCESS_DENIED, 0},
        {"EMPTY/", OnHost(ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED), 0},
        {"full", ERROR_ACCESS_DENIED, ERROR_DIR_NOT_EMPTY},
        {"file", 0, ERROR_DIRECTORY},
        {"FILE", 0, ERROR_DIRECTORY},
        {"fixed", ERROR_ACCESS_DENIED, ERROR_DIRECTORY},
        {"to-folder", OnHost<DWORD>(0, ERROR_ACCESS_DENIED),
         OnHost(ERROR_DIRECTORY, ERROR_ACCESS_DENIED)},
        {"to-folder/", OnHost(ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED),
         OnHost(ERROR_DIRECTORY, ERROR_DIR_NOT_EMPTY)},
        {"file/", OnHost(ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME),
         OnHost(ERROR_DIRECTORY, ERROR_INVALID_NAME)},
        {"missing", ERROR_FILE_NOT_FOUND, ERROR_FILE_NOT_FOUND},
        {"missing/a", ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND},
        {"file/a", ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND},
    };
    if (!kOnWindows) {
        for (const char* const name : {"fifo", "to-file", "dangling", "DANGLING"})
            rows.push_back({name, 0, ERROR_DIRECTORY});
    }
    for (const Row& row : rows) {
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
        check(DeleteOneFile, row.deleteFile);
        check(RemoveOneFolder, row.removeDirectory);
    }
    for (const auto call : {DeleteOneFile, RemoveOneFolder, Create, MakeWritable}) {
        const DWORD error =
            kOnWindows && call == RemoveOneFolder ? ERROR_INVALID_NAME : ERROR_PATH_NOT_FOUND;
        EXPECT_EQ(ErrorOf(call, L""), error);
        EXPECT_EQ(ErrorOf(call, nullptr), error);
    }
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
    EXPECT_EQ(ErrorOf(Create, zoo.Path(std::string(256, 'x'))),
              OnHost(ERROR_FILENAME_EXCED_RANGE, ERROR_FILE_NOT_FOUND));
    if (!kOnWindows) {
        for (const char* const name : {"dangling", "Dangling"})
            EXPECT_EQ(ErrorOf(Create, zoo.Path(name)), ERROR_ALREADY_EXISTS);
    }
    EXPECT_EQ(ErrorOf(Create, L"\\"), ERROR_ALREADY_EXISTS);
    EXPECT_FALSE(zoo.Exists("nowhere"));
}

TEST(Folders, ReadOnlyIsSetAndCleared)
{
    const Zoo zoo;
    constexpr DWORD kFixed = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY;
    const struct {
        const char* rule;
        const char* name;
        BOOL (*call)(const wchar_t*);
        DWORD error;
        DWORD attributes;
    } rows[] = {
        {"set", "file", MakeReadOnly, 0, kFixed},
        {"set again", "FILE", MakeReadOnly, 0, kFixed},
        {"cleared", "file", MakeWritable, 0, FILE_ATTRIBUTE_ARCHIVE},
        {"nothing to clear", "file", MakeWritable, 0, FILE_ATTRIBUTE_ARCHIVE},
        {"never of a folder", "empty", MakeReadOnly, 0, FILE_ATTRIBUTE_DIRECTORY},
        {"missing", "missing", MakeWritable, ERROR_FILE_NOT_FOUND, INVALID_FILE_ATTRIBUTES},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ErrorOf(row.call, zoo.Path(row.name)), row.error) << row.rule;
        EXPECT_EQ(GetFileAttributesW(zoo.Path(row.name)), row.attributes) << row.rule;
    }
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    for (const char* const name : {"no/file", "file/"}) {
        EXPECT_EQ(GetFileAttributesW(zoo.Path(name)), INVALID_FILE_ATTRIBUTES);
        EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
    }
    EXPECT_TRUE(zoo.OutsideIsUntouched());
}

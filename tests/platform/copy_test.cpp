#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/copy_file.h"
#include "support/read_only.h"

namespace fs = std::filesystem;
using String = xel_text::CXelStringT<wchar_t>;

TEST(Copies, WhatStandsAtTheTarget)
{
    struct Row {
        const char* rule;
        const char* target;
        DWORD error;
        DWORD errorIfExists;
        // The file that holds the copy after success.
        const char* copy;
    };
    std::vector<Row> rows = {
        {"nothing", "new", 0, 0, "new"},
        {"nothing, folder in other case", "SUB/new", 0, 0, "Sub/new"},
        {"a file", "file", 0, ERROR_FILE_EXISTS, "file"},
        {"a file in other case", "FILE", 0, ERROR_FILE_EXISTS, "file"},
        {"a folder", "Sub", ERROR_ACCESS_DENIED, ERROR_FILE_EXISTS, nullptr},
        {"a link to a folder", "to-folder", OnHost<DWORD>(0, ERROR_ACCESS_DENIED),
         ERROR_FILE_EXISTS, "to-folder"},
        {"a missing folder", "no/new", ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND, nullptr},
        {"a closing separator", "new/", OnHost<DWORD>(ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME),
         OnHost<DWORD>(ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME), nullptr},
        {"itself", "source", ERROR_SHARING_VIOLATION, ERROR_FILE_EXISTS, nullptr},
        {"itself in other case", "Source", ERROR_SHARING_VIOLATION, ERROR_FILE_EXISTS, nullptr},
        {"its other name", "hard", ERROR_SHARING_VIOLATION, ERROR_FILE_EXISTS, nullptr},
        {"itself by another folder", "to-here/source", ERROR_SHARING_VIOLATION, ERROR_FILE_EXISTS,
         nullptr},
    };
    const Row linksAndFifos[] = {
        {"a FIFO", "fifo", ERROR_ACCESS_DENIED, ERROR_FILE_EXISTS, nullptr},
        {"a link to another file", "to-file", 0, ERROR_FILE_EXISTS, "to-file"},
        {"a link to nothing", "dangling", 0, ERROR_FILE_EXISTS, "dangling"},
        {"a link to itself", "to-source", ERROR_SHARING_VIOLATION, ERROR_FILE_EXISTS, nullptr},
        {"a link to a link", "to-to", ERROR_SHARING_VIOLATION, ERROR_FILE_EXISTS, nullptr},
    };
    if (IsReadOnlyHeeded())
        rows.push_back(
            {"a read-only file", "fixed", ERROR_ACCESS_DENIED, ERROR_FILE_EXISTS, nullptr});
    if (!kOnWindows)
        rows.insert(rows.end(), std::begin(linksAndFifos), std::end(linksAndFifos));
    for (const Row& row : rows) {
        for (const BOOL failIfExists : {FALSE, TRUE}) {
            const TestFolder folder;
            const String source = folder.Write("source", "content");
            folder.Write("file", "old");
            folder.Write("fixed", "old");
            fs::permissions(folder.HostPath("fixed"), fs::perms::owner_read);
            fs::create_directory(folder.HostPath("Sub"));
            MakeFifo(folder.HostPath("fifo"));
            folder.Write("behind", "old");
            MakeFileLink("behind", folder.HostPath("to-file"));
            MakeFolderLink("Sub", folder.HostPath("to-folder"));
            MakeFolderLink(".", folder.HostPath("to-here"));
            MakeFileLink("nowhere", folder.HostPath("dangling"));
            MakeFileLink("source", folder.HostPath("to-source"));
            MakeFileLink("to-source", folder.HostPath("to-to"));
            fs::create_hard_link(folder.HostPath("source"), folder.HostPath("hard"));
            const auto before = CountEntries(folder);

            const DWORD error = failIfExists ? row.errorIfExists : row.error;
            EXPECT_EQ(Copy(source, folder.Path(row.target), failIfExists), error) << row.rule;
            if (error == 0) {
                EXPECT_EQ(folder.Read(row.copy), "content") << row.rule;
                EXPECT_FALSE(IsLinkThere(folder.HostPath(row.copy))) << row.rule;
            }
            EXPECT_EQ(folder.Read("source"), "content") << row.rule;
            EXPECT_EQ(folder.Read("behind"), "old") << row.rule;
            EXPECT_EQ(folder.Read("fixed"), "old") << row.rule;
            EXPECT_FALSE(fs::exists(folder.HostPath("nowhere"))) << row.rule;
            EXPECT_EQ(CountEntries(folder), before + (row.target == std::string("new") ? 1 : 0))
                << row.rule;
        }
    }
}

TEST(Copies, SourcesThatAreNotCopied)
{
    const TestFolder folder;
    folder.Write("old", "old");
    folder.Write("file", "");
    fs::create_directory(folder.HostPath("sub"));
    MakeFifo(folder.HostPath("fifo"));
    const struct {
        const char* name;
        DWORD error;
    } rows[] = {
        {"missing", ERROR_FILE_NOT_FOUND},
        {"no/file", ERROR_PATH_NOT_FOUND},
        {"sub", ERROR_ACCESS_DENIED},
        // There are none on Windows.
        {"fifo", OnHost<DWORD>(ERROR_ACCESS_DENIED, ERROR_FILE_NOT_FOUND)},
        {"file/", OnHost<DWORD>(ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME)},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Copy(folder.Path(row.name), folder.Path("old")), row.error) << row.name;
    if (!kOnWindows) {
        EXPECT_EQ(Copy(L"/dev/null", folder.Path("old")), ERROR_ACCESS_DENIED);
    }
    EXPECT_EQ(Copy(nullptr, folder.Path("old")),
              OnHost<DWORD>(ERROR_PATH_NOT_FOUND, ERROR_INVALID_PARAMETER));
    EXPECT_EQ(Copy(folder.Path("file"), L""), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(folder.Read("old"), "old");
    EXPECT_EQ(CountEntries(folder), OnHost(4, 3));
}

TEST(Copies, ContentOfEverySize)
{
    const TestFolder folder;
    std::string content;
    for (const std::size_t size : {0u, 1u, 32767u, 32768u, 32769u, 65536u, 1000003u}) {
        while (content.size() < size)
            content.push_back(static_cast<char>(content.size() * 7919 >> 8));
        const String source = folder.Write("a", std::string_view(content).substr(0, size));
        EXPECT_EQ(Copy(source, folder.Path("b")), 0u);
        EXPECT_TRUE(folder.Read("b") == content.substr(0, size)) << size;
    }
}

TEST(Copies, DoesNotPullAFileFromUnderItsWriter)
{
    const TestFolder folder;
    const String source = folder.Write("a", "content");
    const String log = folder.Path("log");
    const HANDLE writer =
        CreateFileW(log, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr);
    EXPECT_EQ(Copy(source, log), ERROR_SHARING_VIOLATION);
    DWORD written;
    EXPECT_TRUE(WriteFile(writer, "line", 4, &written, nullptr));
    EXPECT_EQ(Copy(log, folder.Path("b")), 0u) << "readers are let in";
    EXPECT_EQ(folder.Read("b"), "line");
    EXPECT_TRUE(CloseHandle(writer));
    EXPECT_EQ(Copy(source, log), 0u);
    EXPECT_EQ(folder.Read("log"), "content");
}

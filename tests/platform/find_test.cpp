#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/listing.h"
#include "support/file_times.h"
#include "support/target.h"
#include "support/test_folder.h"

namespace fs = std::filesystem;
using String = xel_text::CXelStringT<wchar_t>;

namespace {

constexpr DWORD kLink = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_REPARSE_POINT;
constexpr DWORD kLinkedFolder = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;

std::uint64_t Steps(const FILETIME& time)
{
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

} // namespace

TEST(FindFile, MasksAndNames)
{
    const TestFolder folder;
    for (const char* const name : {"a.txt", "B.TXT", "c.ini", "d", ".e", "x1y", "bc"})
        folder.Write(name, "");
    fs::create_directory(folder.HostPath("Sub"));
    const struct {
        const char* rule;
        const char* mask;
        std::u16string names;
    } rows[] = {
        // On desktop Windows the dots are entries too.
        {"every name", "*.*",
         OnHost(u".e B.TXT Sub a.txt bc c.ini d x1y", u". .. .e B.TXT Sub a.txt bc c.ini d x1y")},
        {"the same", "*",
         OnHost(u".e B.TXT Sub a.txt bc c.ini d x1y", u". .. .e B.TXT Sub a.txt bc c.ini d x1y")},
        {"an empty folder", "Sub/*.*", OnHost(u"", u". ..")},
        {"in any case", "*.Txt", u"B.TXT a.txt"},
        {"exactly one", "?", OnHost(u"d", u". d")},
        {"folders match too", "s?b", u"Sub"},
        {"a name", "a.txt", u"a.txt"},
        {"the host's case", "b.txt", u"B.TXT"},
        {"a folder", "sub", u"Sub"},
        {"with closing separator", "Sub//", OnHost(u"Sub", u"")},
        {"dots are resolved", "Sub/../c.ini", u"c.ini"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Names(folder.Path(row.mask)), row.names) << row.rule;
}

TEST(FindFile, Refusals)
{
    const TestFolder folder;
    folder.Write("file", "");
    const struct {
        const char* rule;
        const char* name;
        DWORD error;
    } rows[] = {
        {"nothing matches", "*.txt", ERROR_FILE_NOT_FOUND},
        {"missing", "missing", ERROR_FILE_NOT_FOUND},
        {"missing folder", "missing/file", ERROR_PATH_NOT_FOUND},
        {"list of a missing folder", "missing/*", ERROR_PATH_NOT_FOUND},
        {"list of a file", "file/*", OnHost(ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME)},
        {"file with closing separator", "file/",
         OnHost(ERROR_PATH_NOT_FOUND, ERROR_FILE_NOT_FOUND)},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ErrorOf(folder.Path(row.name)), row.error) << row.rule;
    EXPECT_EQ(ErrorOf(L""), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(ErrorOf(nullptr), ERROR_PATH_NOT_FOUND);
}

TEST(FindFile, RecordsOfFilesFoldersAndLinks)
{
    const TestFolder folder;
    folder.Write("file", "12345");
    folder.Write("fixed", "");
    fs::permissions(folder.HostPath("fixed"), fs::perms::owner_read);
    fs::create_directory(folder.HostPath("sub"));
    fs::permissions(folder.HostPath("sub"), fs::perms::owner_read | fs::perms::owner_exec);
    MakeFileLink("file", folder.HostPath("to-file"));
    MakeFolderLink("sub", folder.HostPath("to-sub"));
    MakeFileLink("nowhere", folder.HostPath("to-nothing"));
    MakeFileLink("loop", folder.HostPath("loop"));
    MakeFileLink("fixed", folder.HostPath("to-fixed"));

    struct Row {
        const char* name;
        DWORD listed;
        DWORD byName;
        DWORD sizeByName;
    };
    std::vector<Row> rows = {
        {"file", FILE_ATTRIBUTE_ARCHIVE, FILE_ATTRIBUTE_ARCHIVE, 5},
        {"fixed", FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY,
         FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY, 0},
        {"sub", FILE_ATTRIBUTE_DIRECTORY, FILE_ATTRIBUTE_DIRECTORY, 0},
        // On desktop Windows a linked folder is listed as a folder too.
        {"to-sub", OnHost(kLink, kLinkedFolder), kLinkedFolder, 0},
    };
    const Row fileLinks[] = {
        {"to-file", kLink, kLink, 5},
        {"to-fixed", kLink, kLink | FILE_ATTRIBUTE_READONLY, 0},
        {"to-nothing", kLink, kLink, 7},
        {"loop", kLink, kLink, 4},
    };
    if (!kOnWindows)
        rows.insert(rows.end(), std::begin(fileLinks), std::end(fileLinks));
    const std::vector<WIN32_FIND_DATAW> records = List(folder.Path("*.*"));
    EXPECT_EQ(records.size(), rows.size() + OnHost(0, 2)) << "with two dots, or without";
    for (const Row& row : rows) {
        const std::u16string name(row.name, row.name + std::strlen(row.name));
        const auto listed = std::find_if(records.begin(), records.end(), [&](const auto& record) {
            return NameOf(record) == name;
        });
        ASSERT_NE(listed, records.end()) << row.name;
        EXPECT_EQ(listed->dwFileAttributes, row.listed) << row.name;
        const std::vector<WIN32_FIND_DATAW> own = List(folder.Path(row.name));
        ASSERT_EQ(own.size(), 1u) << row.name;
        EXPECT_EQ(own[0].dwFileAttributes, row.byName) << row.name;
        EXPECT_EQ(own[0].nFileSizeLow, row.sizeByName) << row.name;
        EXPECT_EQ(GetFileAttributesW(folder.Path(row.name)), row.byName) << row.name;
    }
    EXPECT_EQ(Names(folder.Path("to-sub/")), OnHost(u"to-sub", u""));
    fs::permissions(folder.HostPath("sub"), fs::perms::owner_all);
}

TEST(FindFile, TimesAndSizes)
{
    const TestFolder folder;
    const String path = folder.Write("big", "x");
    fs::resize_file(folder.HostPath("big"), 0x123456789);
    // 2024-03-05 14:07:00.1234567 and 2001-09-09 01:46:40 UTC.
    constexpr std::uint64_t kWritten = 133541212201234567;
    constexpr std::uint64_t kRead = 126444736000000000;
    SetTimes(folder.HostPath("big"), kRead, kWritten);
    const std::vector<WIN32_FIND_DATAW> records = List(folder.Path("big"));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].nFileSizeHigh, 1u);
    EXPECT_EQ(records[0].nFileSizeLow, 0x23456789u);
    // The device has an object number in place of what follows on desktop Windows.
    EXPECT_EQ(sizeof records[0], OnHost(560u, 592u));
    EXPECT_EQ(Steps(records[0].ftLastAccessTime), kRead);
    EXPECT_EQ(Steps(records[0].ftLastWriteTime), kWritten);

    const HANDLE file =
        CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    FILETIME creation{}, access{}, write{};
    EXPECT_TRUE(GetFileTime(file, &creation, &access, &write));
    EXPECT_TRUE(GetFileTime(file, nullptr, nullptr, nullptr));
    CloseHandle(file);
    EXPECT_EQ(CompareFileTime(&creation, &records[0].ftCreationTime), 0);
    EXPECT_EQ(CompareFileTime(&access, &records[0].ftLastAccessTime), 0);
    EXPECT_EQ(CompareFileTime(&write, &records[0].ftLastWriteTime), 0);
    FILETIME untouched{1, 2};
    EXPECT_FALSE(GetFileTime(file, &untouched, &untouched, &untouched));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(Steps(untouched), 0x200000001u);
}

TEST(FindFile, TenThousandEntriesWhileTheFolderChanges)
{
    // Wine looks through the folder for each name.
    constexpr int kFiles = OnHost(10000, 500);
    const TestFolder folder;
    for (int i = 0; i < kFiles; ++i)
        folder.Write("file" + std::to_string(i), "");
    WIN32_FIND_DATAW record;
    const HANDLE listing = FindFirstFileW(folder.Path("*.*"), &record);
    ASSERT_NE(listing, INVALID_HANDLE_VALUE);
    std::vector<std::u16string> names;
    do {
        if (record.cFileName[0] == '.')
            continue; // desktop Windows
        names.push_back(NameOf(record));
        EXPECT_TRUE(DeleteFileW(folder.Path("") + record.cFileName));
        folder.Write("new" + std::to_string(names.size()), "");
    } while (FindNextFileW(listing, &record));
    EXPECT_TRUE(FindClose(listing));
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::unique(names.begin(), names.end()) - names.begin(), kFiles);
    EXPECT_EQ(List(folder.Path("new*")).size(), std::size_t{kFiles});
    EXPECT_EQ(ErrorOf(folder.Path("file*")), ERROR_FILE_NOT_FOUND);
}

#include <algorithm>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "support/test_folder.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/device_root.h"

namespace fs = std::filesystem;
using String = xel_text::CXelStringT<wchar_t>;

namespace {

constexpr DWORD kLink = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_REPARSE_POINT;

std::u16string NameOf(const WIN32_FIND_DATAW& data)
{
    const auto* const end = std::find(std::begin(data.cFileName), std::end(data.cFileName), 0);
    return {std::begin(data.cFileName), end};
}

std::vector<WIN32_FIND_DATAW> List(const wchar_t* name)
{
    std::vector<WIN32_FIND_DATAW> records(1);
    SetLastError(0);
    const HANDLE listing = FindFirstFileW(name, &records[0]);
    if (listing == INVALID_HANDLE_VALUE)
        return {};
    EXPECT_EQ(GetLastError(), 0u);
    WIN32_FIND_DATAW record;
    while (FindNextFileW(listing, &record))
        records.push_back(record);
    EXPECT_EQ(GetLastError(), ERROR_NO_MORE_FILES);
    EXPECT_FALSE(FindNextFileW(listing, &record)) << "stays at the end";
    EXPECT_TRUE(FindClose(listing));
    return records;
}

// Sorted, with a space between them.
std::u16string Names(const wchar_t* name)
{
    std::vector<std::u16string> names;
    for (const WIN32_FIND_DATAW& record : List(name))
        names.push_back(NameOf(record));
    std::sort(names.begin(), names.end());
    std::u16string all;
    for (const std::u16string& one : names)
        all += (all.empty() ? u"" : u" ") + one;
    return all;
}

DWORD ErrorOf(const wchar_t* name)
{
    WIN32_FIND_DATAW data;
    SetLastError(0);
    EXPECT_EQ(FindFirstFileW(name, &data), INVALID_HANDLE_VALUE);
    return GetLastError();
}

std::uint64_t Steps(const FILETIME& time)
{
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

} // namespace

TEST(FindFile, MasksAndNames)
{
    const TestFolder folder;
    for (const char* const name : {"a.txt", "B.TXT", "c.ini", "d", ".e", "x*y", "x1y", "b?", "bc"})
        folder.Write(name, "");
    fs::create_directory(folder.HostPath("Sub"));
    fs::create_directory(folder.HostPath("S*"));
    folder.Write("S*/in", "");
    const struct {
        const char* rule;
        const char* mask;
        std::u16string names;
    } rows[] = {
        {"every name, no dots", "*.*", u".e B.TXT S* Sub a.txt b? bc c.ini d x*y x1y"},
        {"the same", "*", u".e B.TXT S* Sub a.txt b? bc c.ini d x*y x1y"},
        {"in any case", "*.Txt", u"B.TXT a.txt"},
        {"exactly one", "?", u"d"},
        {"folders match too", "s?b", u"Sub"},
        {"a name is no mask", "x*y", u"x*y"},
        {"nor with a question mark", "b?", u"b?"},
        {"only as it is written", "B?", u"b? bc"},
        {"masks only stand last", "S*/in", u"in"},
        {"all in a folder with a star", "S*/*", u"in"},
        {"a name", "a.txt", u"a.txt"},
        {"the host's case", "b.txt", u"B.TXT"},
        {"a folder", "sub", u"Sub"},
        {"with closing separator", "Sub//", u"Sub"},
        {"dots are resolved", "Sub/../c.ini", u"c.ini"},
        {"a folder in other case", "s*/IN", u"in"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Names(folder.Path(row.mask)), row.names) << row.rule;
}

TEST(FindFile, FileCalledLikeEveryNameHidesNothing)
{
    const TestFolder folder;
    for (const char* const name : {"*.*", "*", "a"})
        folder.Write(name, "");
    EXPECT_EQ(Names(folder.Path("*.*")), u"* *.* a");
    EXPECT_EQ(Names(folder.Path("*")), u"* *.* a");
}

TEST(FindFile, Refusals)
{
    const TestFolder folder;
    folder.Write("file", "");
    fs::create_directory(folder.HostPath("empty"));
    const struct {
        const char* rule;
        const char* name;
        DWORD error;
    } rows[] = {
        {"an empty folder lists nothing", "empty/*.*", ERROR_FILE_NOT_FOUND},
        {"nothing matches", "*.txt", ERROR_FILE_NOT_FOUND},
        {"missing", "missing", ERROR_FILE_NOT_FOUND},
        {"missing folder", "missing/file", ERROR_PATH_NOT_FOUND},
        {"list of a missing folder", "missing/*", ERROR_PATH_NOT_FOUND},
        {"list of a file", "file/*", ERROR_PATH_NOT_FOUND},
        {"file with closing separator", "file/", ERROR_PATH_NOT_FOUND},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ErrorOf(folder.Path(row.name)), row.error) << row.rule;
    EXPECT_EQ(ErrorOf(L""), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(ErrorOf(nullptr), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(ErrorOf(L"\\\xD800"), ERROR_INVALID_NAME);
    EXPECT_EQ(ErrorOf(L"\\\xD800\\*"), ERROR_INVALID_NAME);
}

TEST(FindFile, HandlesAreNotThoseOfFiles)
{
    const TestFolder folder;
    const String path = folder.Write("a", "");
    WIN32_FIND_DATAW data;
    const HANDLE listing = FindFirstFileW(path, &data);
    const HANDLE file =
        CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    const auto refuses = [](BOOL result) {
        return !result && GetLastError() == ERROR_INVALID_HANDLE;
    };
    EXPECT_TRUE(refuses(CloseHandle(listing)));
    EXPECT_TRUE(refuses(FindClose(file)));
    EXPECT_TRUE(refuses(FindNextFileW(file, &data)));
    EXPECT_TRUE(refuses(GetFileTime(listing, nullptr, nullptr, nullptr)));
    EXPECT_EQ(GetFileSize(listing, nullptr), INVALID_FILE_SIZE);
    EXPECT_TRUE(FindClose(listing));
    EXPECT_EQ(FindFirstFileW(path, &data), listing) << "numbers are used again";
    EXPECT_TRUE(FindClose(listing));
    EXPECT_TRUE(CloseHandle(file));
    for (const HANDLE closed : {listing, INVALID_HANDLE_VALUE, HANDLE{}}) {
        EXPECT_TRUE(refuses(FindClose(closed)));
        EXPECT_TRUE(refuses(FindNextFileW(closed, &data)));
    }
}

TEST(FindFile, RecordsOfFilesFoldersAndLinks)
{
    const TestFolder folder;
    folder.Write("file", "12345");
    folder.Write("fixed", "");
    fs::permissions(folder.HostPath("fixed"), fs::perms::owner_read);
    fs::create_directory(folder.HostPath("sub"));
    fs::permissions(folder.HostPath("sub"), fs::perms::owner_read | fs::perms::owner_exec);
    fs::create_symlink("file", folder.HostPath("to-file"));
    fs::create_directory_symlink("sub", folder.HostPath("to-sub"));
    fs::create_symlink("nowhere", folder.HostPath("to-nothing"));
    fs::create_symlink("loop", folder.HostPath("loop"));
    fs::create_symlink("fixed", folder.HostPath("to-fixed"));

    const struct {
        const char* name;
        DWORD listed;
        DWORD byName;
        DWORD sizeByName;
    } rows[] = {
        {"file", FILE_ATTRIBUTE_ARCHIVE, FILE_ATTRIBUTE_ARCHIVE, 5},
        {"fixed", FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY,
         FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY, 0},
        {"sub", FILE_ATTRIBUTE_DIRECTORY, FILE_ATTRIBUTE_DIRECTORY, 0},
        {"to-file", kLink, kLink, 5},
        {"to-sub", kLink, FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT, 0},
        {"to-fixed", kLink, kLink | FILE_ATTRIBUTE_READONLY, 0},
        {"to-nothing", kLink, kLink, 7},
        {"loop", kLink, kLink, 4},
    };
    const std::vector<WIN32_FIND_DATAW> records = List(folder.Path("*.*"));
    EXPECT_EQ(records.size(), std::size(rows));
    for (const auto& row : rows) {
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
    EXPECT_EQ(Names(folder.Path("to-sub/")), u"to-sub");
    fs::permissions(folder.HostPath("sub"), fs::perms::owner_all);
}

TEST(FindFile, TimesAndSizes)
{
    const TestFolder folder;
    const String path = folder.Write("big", "x");
    ASSERT_EQ(truncate(folder.HostPath("big").c_str(), 0x123456789), 0);
    // 2024-03-05 14:07:00.1234567 and 2001-09-09 01:46:40 UTC.
    const timespec times[] = {{1000000000, 0}, {1709647620, 123456789}};
    ASSERT_EQ(utimensat(AT_FDCWD, folder.HostPath("big").c_str(), times, 0), 0);
    const std::vector<WIN32_FIND_DATAW> records = List(folder.Path("*"));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].nFileSizeHigh, 1u);
    EXPECT_EQ(records[0].nFileSizeLow, 0x23456789u);
    EXPECT_EQ(records[0].dwOID, 0u);
    EXPECT_EQ(Steps(records[0].ftLastAccessTime), 126444736000000000u);
    EXPECT_EQ(Steps(records[0].ftLastWriteTime), 133541212201234567u);

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

TEST(FindFile, EveryListedNameReachesItsFile)
{
    const TestFolder folder;
    const std::string longest = std::string(240, 'x') + "\xF0\x9F\x98\x80\xFF.......xyz";
    ASSERT_EQ(longest.size(), 256u - 1);
    const std::vector<std::string> names = {"back\\slash",  "\xFF\xFE",     "\xEF\x81\x9C",
                                            " a:*?\"<>|. ", "\xE4\xB8\xAD", longest};
    for (const std::string& name : names)
        folder.Write(name, name);
    const std::vector<WIN32_FIND_DATAW> records = List(folder.Path("*"));
    EXPECT_EQ(records.size(), names.size());
    for (const WIN32_FIND_DATAW& record : records) {
        const String path = folder.Path("") + record.cFileName;
        EXPECT_EQ(GetFileAttributesW(path), FILE_ATTRIBUTE_ARCHIVE);
        const String copy = folder.Path("copy-of-it");
        EXPECT_TRUE(CopyFileW(path, copy, TRUE));
        EXPECT_EQ(folder.Read("copy-of-it").size(), record.nFileSizeLow);
        EXPECT_TRUE(DeleteFileW(copy));
        EXPECT_TRUE(DeleteFileW(path));
    }
    EXPECT_TRUE(fs::is_empty(folder.HostPath("")));
}

TEST(FindFile, TenThousandEntriesWhileTheFolderChanges)
{
    constexpr int kFiles = 10000;
    const TestFolder folder;
    for (int i = 0; i < kFiles; ++i)
        folder.Write("file" + std::to_string(i), "");
    WIN32_FIND_DATAW record;
    const HANDLE listing = FindFirstFileW(folder.Path("*.*"), &record);
    ASSERT_NE(listing, INVALID_HANDLE_VALUE);
    std::vector<std::u16string> names;
    do {
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

TEST(FindFile, ListingsLeftOpenHoldNoDescriptor)
{
    const TestFolder folder;
    const String path = folder.Write("a", "");
    const String mask = folder.Path("*.*");
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit few{64, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    WIN32_FIND_DATAW data;
    std::vector<HANDLE> listings;
    for (int i = 0; i < 20000; ++i)
        listings.push_back(FindFirstFileW(i % 2 != 0 ? path : mask, &data));
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    for (const HANDLE listing : listings)
        EXPECT_TRUE(FindClose(listing));
}

TEST(FindFile, FolderThatCannotBeRead)
{
    // The child must use this folder and not make, and leave behind, one of its own.
    GTEST_FLAG_SET(death_test_style, "fast");
    const TestFolder folder;
    for (const char* const name : {"closed", "listed"}) {
        fs::create_directory(folder.HostPath(name));
        folder.Write(std::string(name) + "/a", "12");
    }
    fs::create_directory(folder.HostPath("listed/b"));
    fs::permissions(folder.HostPath("closed"), fs::perms::none);
    fs::permissions(folder.HostPath("listed"),
                    fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    const auto check = [&folder] {
        constexpr uid_t kNobody = 65534;
        if (geteuid() == 0 && setuid(kNobody) != 0)
            std::exit(2);
        if (ErrorOf(folder.Path("closed/*")) != ERROR_ACCESS_DENIED)
            std::exit(3);
        // Names can be read there, and their types, but nothing else about them.
        std::vector<WIN32_FIND_DATAW> records = List(folder.Path("listed/*"));
        std::sort(records.begin(), records.end(), [](const auto& a, const auto& b) {
            return a.dwFileAttributes > b.dwFileAttributes;
        });
        const bool right = records.size() == 2 && NameOf(records[0]) == u"a" &&
                           records[0].dwFileAttributes == FILE_ATTRIBUTE_ARCHIVE &&
                           records[0].nFileSizeLow == 0 && NameOf(records[1]) == u"b" &&
                           records[1].dwFileAttributes == FILE_ATTRIBUTE_DIRECTORY;
        std::exit(right && !DeleteFileW(folder.Path("listed/a")) &&
                          GetLastError() == ERROR_ACCESS_DENIED
                      ? 0
                      : 1);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
    for (const char* const name : {"closed", "listed"})
        fs::permissions(folder.HostPath(name), fs::perms::owner_all);
}

// Listings where they depend on how POSIX plays the device.
#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "platform/listing.h"
#include "support/test_folder.h"

namespace fs = std::filesystem;
using String = xel_text::CXelStringT<wchar_t>;

TEST(FindFile, NamesWithWildcards)
{
    const TestFolder folder;
    for (const char* const name : {"x*y", "x1y", "b?", "bc", "in"})
        folder.Write(name, "");
    fs::create_directory(folder.HostPath("S*"));
    folder.Write("S*/in", "");
    const struct {
        const char* rule;
        const char* mask;
        std::u16string names;
    } rows[] = {
        {"a name is no mask", "x*y", u"x*y"},       {"nor with a question mark", "b?", u"b?"},
        {"only as it is written", "B?", u"b? bc"},  {"masks only stand last", "S*/in", u"in"},
        {"a folder in other case", "s*/IN", u"in"}, {"all in a folder with a star", "S*/*", u"in"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Names(folder.Path(row.mask)), row.names) << row.rule;
}

TEST(FindFile, RefusalsOfTheDevice)
{
    const TestFolder folder;
    EXPECT_EQ(ErrorOf(folder.Path("*.*")), ERROR_FILE_NOT_FOUND) << "nothing in an empty folder";
    EXPECT_EQ(ErrorOf(L"\\\xD800"), ERROR_INVALID_NAME);
    EXPECT_EQ(ErrorOf(L"\\\xD800\\*"), ERROR_INVALID_NAME);
}

TEST(FindFile, FileCalledLikeEveryNameHidesNothing)
{
    const TestFolder folder;
    for (const char* const name : {"*.*", "*", "a"})
        folder.Write(name, "");
    EXPECT_EQ(Names(folder.Path("*.*")), u"* *.* a");
    EXPECT_EQ(Names(folder.Path("*")), u"* *.* a");
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
        EXPECT_EQ(record.dwOID, 0u);
        const String copy = folder.Path("copy-of-it");
        EXPECT_TRUE(CopyFileW(path, copy, TRUE));
        EXPECT_EQ(folder.Read("copy-of-it").size(), record.nFileSizeLow);
        EXPECT_TRUE(DeleteFileW(copy));
        EXPECT_TRUE(DeleteFileW(path));
    }
    EXPECT_TRUE(fs::is_empty(folder.HostPath("")));
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

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "files/tree_picture.h"
#include "support/target.h"
#include "support/test_folder.h"
#include "xelutils/files/file_funcs_ex.h"

using namespace FileFuncsEx;

namespace {

using String = CXelStringT<wchar_t>;
using Records = CXelArray<WIN32_FIND_DATAW, WIN32_FIND_DATAW&>;
namespace fs = std::filesystem;

std::vector<String> NamesIn(const Records& records)
{
    std::vector<String> names;
    for (const WIN32_FIND_DATAW& record : records)
        names.emplace_back(record.cFileName);
    return names;
}

// Sorted, with a space between them.
String Joined(std::vector<String> names)
{
    std::sort(names.begin(), names.end(),
              [](const String& a, const String& b) { return a.Compare(b) < 0; });
    String all;
    for (const String& name : names)
        all += (all.IsEmpty() ? L"" : L" ") + name;
    return all;
}

// As the platform lists them.
std::vector<String> Listed(const wchar_t* mask)
{
    std::vector<String> names;
    WIN32_FIND_DATAW entry;
    const HANDLE listing = FindFirstFileW(mask, &entry);
    for (BOOL more = listing != INVALID_HANDLE_VALUE; more; more = FindNextFileW(listing, &entry))
        names.emplace_back(entry.cFileName);
    FindClose(listing);
    return names;
}

} // namespace

TEST(IsDots, ExactlyTheTwo)
{
    const struct {
        const wchar_t* name;
        int result;
    } rows[] = {
        {L".", 1}, {L"..", 1}, {L"", 0},   {L"...", 0}, {L".a", 0},     {L"..a", 0},  {L". ", 0},
        {L"a", 0}, {L"a.", 0}, {L"/.", 0}, {L".\\", 0}, {L"\xFF0E", 0}, {nullptr, 0},
    };
    for (const auto& row : rows)
        EXPECT_EQ(IsDots(row.name), row.result) << testing::PrintToString(String(row.name));
}

TEST(FindAllFilesInFolder, Rules)
{
    const TestFolder folder;
    MakeTree(folder.HostPath(""),
             {"a.txt", "B.TXT", "c.ini", "none", ".txt", "a.txt.bak", "Sub/in.txt", "D.txt/"});
    MakeFolderLink("Sub", folder.HostPath("link"));
    MakeFileLink("nowhere", folder.HostPath("dangling.txt"));
    if (kOnWindows)
        folder.Write("dangling.txt", "");
    fs::create_directory(folder.HostPath("Sub/empty"));
    constexpr auto kAll = eFindFilesAndFolders;
    const struct {
        const char* rule;
        int what;
        const char* dir;
        const wchar_t* mask;
        const wchar_t* names;
    } rows[] = {
        // A linked folder is a file; on desktop Windows it is a folder.
        {"files", eFindFiles, "", nullptr,
         OnHost(L".txt B.TXT a.txt a.txt.bak c.ini dangling.txt link none",
                L".txt B.TXT a.txt a.txt.bak c.ini dangling.txt none")},
        {"folders, no dots", eFindFolders, "", nullptr, OnHost(L"D.txt Sub", L"D.txt Sub link")},
        {"both", kAll, "", nullptr,
         L".txt B.TXT D.txt Sub a.txt a.txt.bak c.ini dangling.txt link none"},
        {"neither", 0, "", nullptr, L""},
        {"further bits", 4 | eFindFolders, "", L"Sub", L"Sub"},
        {"ends with the mask", eFindFiles, "", L".txt", L".txt B.TXT a.txt dangling.txt"},
        {"folders that end with it", eFindFolders, "", L".TXT", L"D.txt"},
        {"wildcards in the mask", kAll, "", L".t?t*",
         L".txt B.TXT D.txt a.txt a.txt.bak dangling.txt"},
        {"empty mask finds all", eFindFolders, "Sub", L"", L"empty"},
        {"nothing ends so", kAll, "", L".xyz", L""},
        {"a folder in other case", kAll, "sUB", nullptr, L"empty in.txt"},
        {"through a link", kAll, "link", L"t", L"in.txt"},
        {"empty folder", kAll, "Sub/empty", nullptr, L""},
        {"missing folder", kAll, "missing", nullptr, L""},
        {"file", kAll, "none", nullptr, L""},
    };
    for (const auto& row : rows) {
        Records found;
        WIN32_FIND_DATAW before = {};
        found.push_back(before);
        FindAllFilesInFolder(found, static_cast<EFindFolder>(row.what), folder.Path(row.dir),
                             row.mask);
        EXPECT_EQ(Joined(NamesIn(found)), row.names) << row.rule;
    }
}

TEST(FindAllFilesInFolder, WholeRecordsInTheOrderOfTheListing)
{
    const TestFolder folder;
    MakeTree(folder.HostPath(""), {"z", "b", "y/", "a", "x"});
    fs::resize_file(folder.HostPath("b"), 0x123456789);
    fs::permissions(folder.HostPath("b"), fs::perms::owner_read);
    Records found;
    FindAllFilesInFolder(found, eFindFilesAndFolders, folder.Path(""), nullptr);
    std::vector<String> listed = Listed(folder.Path("*.*"));
    std::erase_if(listed, [](const String& name) { return IsDots(name) != 0; });
    EXPECT_EQ(NamesIn(found), listed);
    FindAllFilesInFolder(found, eFindFiles, folder.Path(""), L"b");
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].nFileSizeHigh, 1u);
    EXPECT_EQ(found[0].nFileSizeLow, 0x23456789u);
    EXPECT_EQ(found[0].dwFileAttributes, FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(found.capacity(), 8u) << "room stays";
}

TEST(FindAllFilesInFolder, ArgumentsMayLieInTheResult)
{
    const TestFolder folder;
    MakeTree(folder.HostPath(""), {"one", "two"});
    Records found;
    FindAllFilesInFolder(found, eFindFiles, folder.Path(""), L"two");
    ASSERT_EQ(found.size(), 1u);
    FindAllFilesInFolder(found, eFindFiles, folder.Path(""), found[0].cFileName);
    EXPECT_EQ(Joined(NamesIn(found)), L"two");
}

TEST(FindAllFilesInFolder, NullNamesNothing)
{
    Records found;
    WIN32_FIND_DATAW before = {};
    found.push_back(before);
    FindAllFilesInFolder(found, eFindFilesAndFolders, nullptr, nullptr);
    EXPECT_TRUE(found.empty());
}

TEST(CountFiles, OneLessThanThereAre)
{
    const struct {
        const char* rule;
        std::initializer_list<const char*> entries;
        unsigned long count;
        // On desktop Windows, which lists "." and "..".
        unsigned long countWithDots;
    } rows[] = {
        {"empty", {}, 0, 1},
        {"one file", {"a"}, 0, 2},
        {"two files", {"a", "b"}, 1, 3},
        {"three files", {"a", "b", "c"}, 2, 4},
        {"folders count, what is in them does not", {"a", "Sub/b", "Sub/c", "d/"}, 2, 4},
        {"names with a dot count", {".a", "..b", "c.d"}, 2, 4},
    };
    for (const auto& row : rows) {
        const TestFolder folder;
        MakeTree(folder.HostPath(""), row.entries);
        EXPECT_EQ(CountFiles(folder.Path("")), OnHost(row.count, row.countWithDots)) << row.rule;
        EXPECT_EQ(CountFiles(folder.Path("missing")), 0u);
        EXPECT_EQ(CountFiles(folder.Path("a")), 0u);
    }
}

TEST(CountFiles, Many)
{
    const TestFolder folder;
    for (int i = 0; i < kManyFiles; ++i)
        folder.Write(std::to_string(i), "");
    EXPECT_EQ(CountFiles(folder.Path("")), kManyFiles + OnHost(-1, 1));
    Records found;
    FindAllFilesInFolder(found, eFindFilesAndFolders, folder.Path(""), nullptr);
    EXPECT_EQ(found.size(), std::size_t{kManyFiles});
}

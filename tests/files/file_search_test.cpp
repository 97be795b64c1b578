#include <filesystem>
#include <gtest/gtest.h>

#include "support/target.h"
#include "support/test_folder.h"
#include "xelutils/files/file_funcs.h"

using namespace FileFuncs;

namespace {

using String = CXelStringT<wchar_t>;
namespace fs = std::filesystem;

void MakeFile(const TestFolder& folder, const std::string& name)
{
    fs::create_directories(fs::path(folder.HostPath(name)).parent_path());
    folder.Write(name, "");
}

// What is found behind the folder's own name, "-" for nothing.
String Search(const TestFolder& folder, const char* below, const wchar_t* name)
{
    String dir = folder.Path(below);
    dir.TrimRight(L'/');
    String found = L"unchanged";
    if (FindFileInDirTree(dir, name, found)) {
        EXPECT_EQ(found.Left(dir.GetLength()), dir);
        return found.Mid(dir.GetLength());
    }
    EXPECT_EQ(found, String(L"unchanged"));
    return L"-";
}

} // namespace

TEST(FindFileInDirTree, Rules)
{
    const TestFolder folder;
    for (const char* const name :
         {"readme.TXT", "A/B/deep", "A/B2/x", "E/.git/hidden", "E/.x", "E/dir/y"})
        MakeFile(folder, name);
    fs::create_directory(folder.HostPath("empty"));
    const struct {
        const char* rule;
        const char* below;
        const wchar_t* name;
        String found;
    } rows[] = {
        {"any case, the caller's spelling", "", L"README.txt", L"\\README.txt"},
        {"further down", "", L"deep", L"\\A\\B\\deep"},
        {"behind a folder without match", "A", L"X", L"\\B2\\X"},
        {"not in a folder with a dot", "", L"hidden", L"-"},
        {"a file with a dot", "", L".x", L"\\E\\.x"},
        {"folders are no files", "", L"dir", L"-"},
        {"no wildcards", "", L"read*", L"-"},
        {"no paths", "", L"A\\B\\deep", L"-"},
        {"empty name", "", L"", L"-"},
        {"empty folder", "empty", L"deep", L"-"},
        {"missing folder", "missing", L"deep", L"-"},
        {"a file for a folder", "readme.TXT", L"deep", L"-"},
        {"started in a folder with a dot", "E/.git", L"hidden", L"\\hidden"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Search(folder, row.below, row.name), row.found) << row.rule;
}

TEST(FindFileInDirTree, FirstInTheOrderOfTheListingWins)
{
    // Hosts list in different orders; made in both orders, both cases come up on most.
    for (const bool fileFirst : {true, false}) {
        const TestFolder folder;
        if (fileFirst)
            MakeFile(folder, "x");
        MakeFile(folder, "sub/x");
        MakeFile(folder, "x");

        WIN32_FIND_DATAW first;
        const HANDLE listing = FindFirstFileW(folder.Path("*.*"), &first);
        ASSERT_NE(listing, INVALID_HANDLE_VALUE);
        while (first.cFileName[0] == '.' && FindNextFileW(listing, &first)) {
        }
        FindClose(listing);
        const bool subIsListedFirst = String(first.cFileName) == L"sub";
        EXPECT_EQ(Search(folder, "", String(L"x")), subIsListedFirst ? L"\\sub\\x" : L"\\x");
    }
}

TEST(FindFileInDirTree, LinksAreNotFollowed)
{
    const TestFolder outside;
    MakeFile(outside, "secret");
    const TestFolder folder;
    String found;
    MakeFile(folder, "A/file");
    MakeFolderLink(outside.HostPath(""), folder.HostPath("A/out"));
    MakeFolderLink(folder.HostPath(""), folder.HostPath("A/loop"));
    MakeFileLink("nowhere", folder.HostPath("A/dangling"));
    EXPECT_EQ(Search(folder, "", String(L"secret")), L"-");
    EXPECT_EQ(Search(folder, "", String(L"missing")), L"-");
    EXPECT_EQ(Search(folder, "", String(L"file")), L"\\A\\file");
    // A link is found by its own name, whatever it leads to.
    EXPECT_EQ(Search(folder, "", String(L"LOOP")), L"\\A\\LOOP");
    EXPECT_EQ(Search(folder, "", String(L"dangling")), OnHost(L"\\A\\dangling", L"-"));
    EXPECT_EQ(Search(folder, "A/out", String(L"secret")), L"-");
    EXPECT_FALSE(FindFileInDirTree(folder.Path("A/out//"), L"secret", found));
    // Further up in the path a link is followed.
    EXPECT_EQ(Search(folder, "A/loop/A", String(L"file")), L"\\file");
}

TEST(FindFileInDirTree, DeepTrees)
{
    constexpr int kLevels = 300;
    const TestFolder folder;
    std::string name;
    String device;
    for (int level = 0; level < kLevels; ++level) {
        name += "d/";
        device += L"\\d";
    }
    MakeFile(folder, name + "last");
    MakeFile(folder, "d/d/z/beside");
    EXPECT_EQ(Search(folder, "", String(L"last")), device + L"\\last");
    EXPECT_EQ(Search(folder, "", String(L"beside")), L"\\d\\d\\z\\beside");
    EXPECT_EQ(Search(folder, "", String(L"missing")), L"-");
}

TEST(FindFileInDirTree, ListingsLeftOpenDoNotRunOut)
{
    const TestFolder folder;
    MakeFile(folder, "A/file");
    for (int i = 0; i < 3000; ++i)
        ASSERT_EQ(Search(folder, "", L"file"), L"\\A\\file") << i;
}

TEST(FindFileInDirTree, NullFindsNothing)
{
    const TestFolder folder;
    MakeFile(folder, "file");
    String found = L"unchanged";
    EXPECT_FALSE(FindFileInDirTree(nullptr, L"file", found));
    EXPECT_FALSE(FindFileInDirTree(folder.Path(""), nullptr, found));
    EXPECT_EQ(found, String(L"unchanged"));
}

TEST(FindFileInDirTree, ArgumentsMayLieInTheResult)
{
    const TestFolder folder;
    MakeFile(folder, "A/file");
    String found = folder.Path("A");
    EXPECT_TRUE(FindFileInDirTree(found, L"file", found));
    EXPECT_EQ(found, folder.Path("A") + L"\\file");
}

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "files/tree_picture.h"
#include "support/small_stack.h"
#include "support/target.h"
#include "support/test_folder.h"
#include "support/working_directory.h"
#include "xelutils/files/file_funcs_ex.h"
#include "xelutils/files/internal/entry_paths.h"
#include "xelutils/files/internal/tree_walk.h"

using namespace FileFuncsEx;

namespace {

using String = CXelStringT<wchar_t>;
namespace fs = std::filesystem;

String Repeated(const wchar_t* text, int count)
{
    String all;
    wchar_t* const units = all.GetBufferSetLength(count);
    const String part = text;
    for (int i = 0; i < count; ++i)
        units[i] = part[i % part.GetLength()];
    return all;
}

} // namespace

// ---- Removing -------------------------------------------------------------------------------

TEST(RemoveDirectoryTree, EveryKindOfEntryAndNothingBehindLinks)
{
    const TestFolder outside;
    MakeTree(outside.HostPath(""), {"secret", "sub/secret"});
    const auto outsideBefore = PictureOf(outside.HostPath(""));
    const TestFolder folder;
    MakeTree(folder.HostPath(""), {"beside", "Tree/a", "Tree/fixed", "Tree/Sub/.hidden/b"});
    if (!kOnWindows)
        MakeTree(folder.HostPath("Tree"), {"\xFF\xFE", "back\\slash/c", "\xEF\x81\x9C"});
    fs::permissions(folder.HostPath("Tree/fixed"), fs::perms::owner_read);
    MakeFolderLink(outside.HostPath(""), folder.HostPath("Tree/Sub/out"));
    MakeFileLink(outside.HostPath("secret"), folder.HostPath("Tree/Sub/to-secret"));
    MakeFolderLink("../..", folder.HostPath("Tree/Sub/loop"));
    MakeFileLink("self", folder.HostPath("Tree/self"));
    MakeFileLink("nowhere", folder.HostPath("Tree/dangling"));

    const bool isRemoved = RemoveDirectoryTree(folder.Path("tREE")) != 0;
    EXPECT_EQ(isRemoved, kLinksCanBeRemoved);
    EXPECT_EQ(fs::exists(folder.HostPath("Tree")), !kLinksCanBeRemoved);
    EXPECT_EQ(folder.Read("beside"), "beside");
    EXPECT_EQ(PictureOf(outside.HostPath("")), outsideBefore);
}

TEST(RemoveDirectoryTree, WhatIsNoTree)
{
    const TestFolder folder;
    MakeTree(folder.HostPath(""), {"file", "empty/", "behind/a"});
    MakeFolderLink("behind", folder.HostPath("link"));
    MakeFileLink("file", folder.HostPath("to-file"));
    MakeFileLink("nowhere", folder.HostPath("dangling"));
    const auto before = PictureOf(folder.HostPath(""));
    // An empty folder lists nothing, which counts as a failure.
    for (const char* const name :
         {"missing", "missing/a", "file", "to-file", "dangling", "link/", "link//", "behind*", "*"})
        EXPECT_EQ(RemoveDirectoryTree(folder.Path(name)), 0) << name;
    if (!kOnWindows) {
        for (const char* const name : {"empty", "empty/"})
            EXPECT_EQ(RemoveDirectoryTree(folder.Path(name)), 0) << name;
    }
    EXPECT_EQ(RemoveDirectoryTree(nullptr), 0);
    EXPECT_EQ(PictureOf(folder.HostPath("")), before);

    // Of a link to a folder the link goes, also when nothing lies behind.
    MakeFolderLink("empty", folder.HostPath("to-empty"));
    auto after = PictureOf(folder.HostPath(""));
    for (const char* const name : {"link", "to-empty"}) {
        EXPECT_EQ(RemoveDirectoryTree(folder.Path(name)), kLinksCanBeRemoved) << name;
        if (kLinksCanBeRemoved)
            after.erase(name);
    }
    EXPECT_EQ(PictureOf(folder.HostPath("")), after);
    // Further up it is followed.
    MakeFolderLink(".", folder.HostPath("here"));
    EXPECT_EQ(RemoveDirectoryTree(folder.Path("here/behind")), 1);
    EXPECT_FALSE(fs::exists(folder.HostPath("behind")));
    // On desktop Windows an empty folder lists its dots, and so is a tree as any.
    EXPECT_EQ(RemoveDirectoryTree(folder.Path("empty")), OnHost(0, 1));
    EXPECT_EQ(fs::exists(folder.HostPath("empty")), !kOnWindows);
}

TEST(RemoveDirectoryTree, EndsAtTheFirstEntryThatFails)
{
    const TestFolder folder;
    MakeTree(folder.HostPath("tree"), {"a", "b/", "c", "d", "e"});
    // Where empty folders can be removed, this one still cannot.
    const WorkingDirectory inTheEmptyFolder(folder.HostPath("tree/b"));
    std::vector<String> names;
    WIN32_FIND_DATAW entry;
    const HANDLE listing = FindFirstFileW(folder.Path("tree/*"), &entry);
    for (BOOL more = listing != INVALID_HANDLE_VALUE; more; more = FindNextFileW(listing, &entry)) {
        if (!IsDots(entry.cFileName))
            names.emplace_back(entry.cFileName);
    }
    FindClose(listing);
    ASSERT_EQ(names.size(), 5u);
    EXPECT_EQ(RemoveDirectoryTree(folder.Path("tree")), 0);
    bool isBefore = true;
    for (const String& name : names) {
        isBefore = isBefore && name != L"b";
        const DWORD attributes = GetFileAttributesW(folder.Path("tree/") + name);
        EXPECT_EQ(attributes == INVALID_FILE_ATTRIBUTES, isBefore) << testing::PrintToString(name);
    }
}

TEST(RemoveDirectoryTree, DeepTrees)
{
    const TestFolder folder;
    const String top = folder.Path("tree");
    const String deepest = top + Repeated(L"\\d", 2 * 300);
    ASSERT_EQ(CreateDirectoryTree(deepest), 1);
    ASSERT_TRUE(CopyFileW(folder.Write("file", "x"), deepest + L"\\file", TRUE));
    EXPECT_EQ(RemoveDirectoryTree(top), 1);
    EXPECT_FALSE(fs::exists(folder.HostPath("tree")));
    EXPECT_EQ(folder.Read("file"), "x");
}

TEST(RemoveDirectoryTree, DeepTreesOnALittleStack)
{
    constexpr int kLevels = 900;
    const TestFolder folder;
    std::string deepest = "tree";
    for (int level = 0; level < kLevels; ++level)
        deepest += "/d";
    MakeTree(folder.HostPath(""), {(deepest + "/f").c_str()});
    RunWithSmallStack([&] { EXPECT_EQ(RemoveDirectoryTree(folder.Path("tree")), 1); });
    EXPECT_TRUE(fs::is_empty(folder.HostPath("")));
}

TEST(RemoveDirectoryTree, ManyFilesInOneFolder)
{
    const TestFolder folder;
    fs::create_directory(folder.HostPath("tree"));
    for (int i = 0; i < kManyFiles; ++i)
        folder.Write("tree/" + std::to_string(i), "");
    EXPECT_EQ(RemoveDirectoryTree(folder.Path("tree")), 1);
    EXPECT_TRUE(fs::is_empty(folder.HostPath("")));
}

TEST(RemoveDirectoryTree, WorkingDirectoryAndWhatHoldsItStay)
{
    const TestFolder folder;
    MakeTree(folder.HostPath(""), {"work/here/a", "work/b"});
    const auto before = PictureOf(folder.HostPath(""));
    const WorkingDirectory there(folder.HostPath("work/here"));
    for (const wchar_t* const path : {L"", L".", L"..", L"..\\..", L"..\\here\\.."})
        EXPECT_EQ(RemoveDirectoryTree(path), 0) << testing::PrintToString(String(path));
    EXPECT_EQ(PictureOf(folder.HostPath("")), before);
}

TEST(WithoutClosingSeparators, KeepsRoots)
{
    const struct {
        const wchar_t* path;
        const wchar_t* result;
    } rows[] = {
        {L"", L""},           {L"\\", L"\\"},     {L"//", L"/"},          {L"a\\", L"a"},
        {L"\\a/\\/", L"\\a"}, {L"C:\\", L"C:\\"}, {L"C:\\a\\", L"C:\\a"}, {L"a\\b", L"a\\b"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(WithoutClosingSeparators(row.path), row.result) << &row - rows;
}

TEST(NamesNoEntry, RootsAndWorkingDirectories)
{
    const struct {
        const wchar_t* path;
        bool result;
    } rows[] = {
        {L"", true},
        {L"\\", true},
        {L"/", true},
        {L"\\\\//", true},
        {L"\\.", true},
        {L"\\.\\.", true},
        {L"\\..", true},
        {L"\\a\\..", true},
        {L"\\a\\b\\../..\\", true},
        {L"\\..\\..\\a\\..", true},
        {L"\\.host", true},
        {L"/.HoSt//", true},
        {L"\\.\\.host", true},
        {L"\\a\\..\\.host", true},
        {L"\\.host\\..", true},
        {L"\\.host\\a\\..", true},
        {L".", true},
        {L"..", true},
        {L"a\\..", true},
        {L"..\\..", true},
        {L"a\\..\\..", true},
        {L"a", false},
        {L"\\a", false},
        {L"\\a\\", false},
        {L"\\...", false},
        {L"\\..a", false},
        {L"\\. ", false},
        {L"..\\a", false},
        {L"\\..\\a", false},
        {L"\\a\\.", false},
        {L"\\a\\b\\..", false},
        {L".host", false},
        {L"\\.host2", false},
        {L"\\.hos", false},
        {L"\\a\\.host", false},
        {L"\\.host\\a", false},
        {L"\\.host\\.host", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(NamesNoEntry(row.path), row.result) << testing::PrintToString(String(row.path));
}

// ---- The walk -------------------------------------------------------------------------------

TEST(TreeWalk, FolderThatTurnsIntoALinkIsNotEntered)
{
    const TestFolder folder;
    MakeTree(folder.HostPath(""), {"top/sub/a", "outside/secret"});
    CTreeWalk walk(folder.Path("top"));
    ASSERT_EQ(walk.Enter(), CTreeWalk::EEntered::eFirstEntry);
    while (IsDots(walk.Entry().cFileName) && walk.Next()) {
    }
    ASSERT_EQ(walk.Entry().dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY);
    fs::remove_all(folder.HostPath("top/sub"));
    MakeFolderLink("../outside", folder.HostPath("top/sub"));
    EXPECT_EQ(walk.Enter(), CTreeWalk::EEntered::eLink);
    EXPECT_EQ(walk.Path(), folder.Path("top") + L"\\sub");
    RemoveLink(folder.HostPath("top/sub"));
    EXPECT_EQ(walk.Enter(), CTreeWalk::EEntered::eNothing);
    while (walk.Next())
        EXPECT_TRUE(IsDots(walk.Entry().cFileName));
    EXPECT_FALSE(walk.IsInside());
    EXPECT_EQ(walk.Path(), folder.Path("top"));
}

TEST(TreeWalk, EachEntryOnceWhileTheTreeChanges)
{
    const TestFolder folder;
    constexpr int kFiles = 100;
    for (int i = 0; i < kFiles; ++i)
        MakeTree(folder.HostPath("top"), {std::to_string(i).c_str()});
    CTreeWalk walk(folder.Path("top"));
    ASSERT_EQ(walk.Enter(), CTreeWalk::EEntered::eFirstEntry);
    int count = 0;
    do {
        if (IsDots(walk.Entry().cFileName))
            continue;
        ++count;
        EXPECT_EQ(walk.Folder(), folder.Path("top"));
        EXPECT_TRUE(DeleteFileW(walk.Path()));
        MakeTree(folder.HostPath("top"), {("new" + std::to_string(count)).c_str()});
    } while (walk.Next());
    EXPECT_EQ(count, kFiles);
}

// ---- Creating -------------------------------------------------------------------------------

TEST(CreateDirectoryTree, Rules)
{
    const struct {
        const char* rule;
        const wchar_t* path;
        int result;
        const char* made;
    } rows[] = {
        {"both separators", L"\\A/B\\C", 1, "A/B/C"},
        {"closing separator", L"\\A\\B\\", 1, "A/B"},
        {"several separators", L"\\\\A//B\\\\", 1, "A/B"},
        {"some exist, in other case", L"\\old\\New", 1, "Old/New"},
        {"all exist", L"\\Old", 1, nullptr},
        {"a file counts as existing", L"\\file", 1, nullptr},
        {"nothing in a file", L"\\file\\A", 0, nullptr},
        {"a link to a folder", L"\\link\\A", 1, "Old/A"},
        {"a link to nothing", L"\\dangling\\A", OnHost(0, 1),
         OnHost<const char*>(nullptr, "dangling/A")},
        {"dots are left to the platform", L"\\A\\..\\B", 1, "B"},
    };
    for (const auto& row : rows) {
        const TestFolder folder;
        MakeTree(folder.HostPath(""), {"file", "Old/"});
        MakeFolderLink("Old", folder.HostPath("link"));
        MakeFileLink("nowhere", folder.HostPath("dangling"));
        const auto before = PictureOf(folder.HostPath(""));
        String base = folder.Path("");
        base.TrimRight(L'/');
        EXPECT_EQ(CreateDirectoryTree(base + row.path), row.result) << row.rule;
        if (row.made == nullptr) {
            EXPECT_EQ(PictureOf(folder.HostPath("")), before) << row.rule;
        } else {
            EXPECT_TRUE(fs::is_directory(folder.HostPath(row.made))) << row.rule;
        }
    }
}

TEST(CreateDirectoryTree, FromTheTopDownToTheFirstFailure)
{
    const TestFolder folder;
    const String path = folder.Path("A") + L"/B\\" + String('x', 300) + L"\\C";
    EXPECT_EQ(CreateDirectoryTree(path), 0);
    // What follows is not tried, although it could be made.
    EXPECT_EQ(CreateDirectoryTree(folder.Path("") + String('x', 300) + L"\\..\\C"), 0);
    EXPECT_EQ(PictureOf(folder.HostPath("")),
              (std::map<std::string, std::string>{{"A", "folder"}, {"A/B", "folder"}}));
}

TEST(CreateDirectoryTree, RelativePaths)
{
    const TestFolder folder;
    const WorkingDirectory there(folder.HostPath(""));
    EXPECT_EQ(CreateDirectoryTree(L"a\\b/c"), 1);
    EXPECT_EQ(CreateDirectoryTree(L"name"), 1);
    EXPECT_TRUE(fs::is_directory(folder.HostPath("a/b/c")));
    EXPECT_TRUE(fs::is_directory(folder.HostPath("name")));
}

TEST(CreateDirectoryTree, OddPathsHaveAPlainResult)
{
    const TestFolder folder;
    const struct {
        const char* rule;
        String path;
        int result;
    } rows[] = {
        {"empty", L"", 0},
        {"root", L"\\", 1},
        {"separators alone", String('/', 32000), OnHost(1, 0)},
        {"a name too long", folder.Path("") + String('x', 32000), 0},
        {"a path too long", folder.Path("file") + Repeated(L"\\x", 32000), 0},
        // Each takes Wine a millisecond.
        {"dots without end", folder.Path("") + Repeated(L"\\.", OnHost(32000, 1000)), 1},
    };
    folder.Write("file", "");
    EXPECT_EQ(CreateDirectoryTree(nullptr), 0);
    for (const auto& row : rows)
        EXPECT_EQ(CreateDirectoryTree(row.path), row.result) << row.rule;
}

#include <atomic>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "files/tree_picture.h"
#include "support/read_only.h"
#include "support/test_folder.h"
#include "xelutils/files/file_funcs_ex.h"

using namespace FileFuncsEx;

namespace {

using String = CXelStringT<wchar_t>;
namespace fs = std::filesystem;

// Names that are no UTF-8, that hold a backslash, and that look like its carrier.
const std::vector<std::string> kOddNames = {
    OnHost("\xFF\xFE", "fffe"), OnHost("back\\slash", "slash"), OnHost("\xEF\x81\x9C", "f05c"),
    OnHost("sp ace. ", "sp ace")};

// Of every kind something, with links that lead to `outside`.
void MakeMixedTree(const std::string& top, const std::string& outside)
{
    MakeTree(top, {"a", "Sub/b", "Sub/Deep/c", "none/"});
    for (const std::string& name : kOddNames)
        MakeTree(top, {name.c_str(), ("odd/" + name + "/" + name).c_str()});
    fs::permissions(top + "/Sub/b", fs::perms::owner_read);
    fs::last_write_time(top + "/a", fs::last_write_time(top + "/a") - std::chrono::hours(1));
    if (kOnWindows)
        return; // links are not copied
    MakeTree(top, {"Sub/.hidden/d"});
    MakeFolderLink(outside, top + "/Sub/out");
    MakeFolderLink("..", top + "/Sub/loop");
    MakeFileLink("self", top + "/self");
    MakeFileLink("nowhere", top + "/dangling");
    MakeFileLink("a", top + "/to-a");
}

class CopyDirectoryTest : public testing::Test {
protected:
    ~CopyDirectoryTest() override { EXPECT_EQ(PictureOf(outside.HostPath("")), outsideBefore); }

    int Copy(const char* from, const char* to, int recursive = 1) const
    {
        return CopyDirectory(folder.Path(from), folder.Path(to), recursive);
    }
    std::map<std::string, std::string> Picture(const char* name) const
    {
        return PictureOf(folder.HostPath(name));
    }

    const TestFolder outside;
    const std::map<std::string, std::string> outsideBefore = MakeOutside();
    const TestFolder folder;

private:
    std::map<std::string, std::string> MakeOutside() const
    {
        MakeTree(outside.HostPath(""), {"secret", "sub/secret"});
        return PictureOf(outside.HostPath(""));
    }
};

} // namespace

TEST_F(CopyDirectoryTest, EveryKindOfEntry)
{
    MakeMixedTree(folder.HostPath("from"), outside.HostPath(""));
    const auto before = Picture("from");
    EXPECT_EQ(Copy("from", "to"), 1);
    EXPECT_EQ(Picture("to"), before);
    EXPECT_EQ(Picture("from"), before);
}

// Desktop Windows has them: for hidden folders, links to folders and others.
TEST_F(CopyDirectoryTest, FoldersWithFurtherAttributesAreHandedToTheCopyingOfFiles)
{
    constexpr DWORD kHidden = 2; // means nothing elsewhere
    MakeTree(folder.HostPath("from"), {".hidden/a"});
    SetFileAttributesW(folder.Path("from/.hidden"), FILE_ATTRIBUTE_DIRECTORY | kHidden);
    EXPECT_EQ(Copy("from", "to"), OnHost(1, 0));
    EXPECT_EQ(fs::exists(folder.HostPath("to/.hidden")), !kOnWindows);

    MakeTree(folder.HostPath("links"), {"sub/"});
    MakeFolderLink(outside.HostPath(""), folder.HostPath("links/sub/out"));
    EXPECT_EQ(Copy("links", "copy"), OnHost(1, 0));
    EXPECT_EQ(Picture("copy"), OnHost(Picture("links"), {{"sub", "folder"}}));
}

TEST_F(CopyDirectoryTest, IntoWhatIsThere)
{
    MakeTree(folder.HostPath("from"), {"a", "Sub/b", "Sub/c"});
    MakeTree(folder.HostPath("to"), {"A", "sub/B", "sub/kept", "x/y"});
    MakeFileLink(outside.HostPath("secret"), folder.HostPath("to/sub/c"));
    EXPECT_EQ(Copy("from", "to"), 1);
    EXPECT_EQ(folder.Read("to/A"), "a");
    EXPECT_EQ(folder.Read("to/sub/B"), "Sub/b");
    EXPECT_EQ(folder.Read("to/sub/kept"), "sub/kept");
    EXPECT_EQ(folder.Read("to/sub/c"), "Sub/c");
    EXPECT_FALSE(fs::is_symlink(folder.HostPath("to/sub/c")));
    EXPECT_EQ(Picture("to").size(), 7u);
}

TEST_F(CopyDirectoryTest, Results)
{
    struct Row {
        const char* rule;
        const char* from;
        const char* to;
        int recursive;
        int result;
        bool toExists;
    };
    std::vector<Row> rows = {
        // Without folders inside the dots of desktop Windows are handed over too, and refused.
        {"plain", "files", "new", 0, OnHost(1, 0), true},
        {"plain, recursive", "files", "new", 1, 1, true},
        {"closing separator", "files/", "new/", 1, 1, true},
        {"folder, recursive", "tree", "new", 7, 1, true},
        {"folder, handed to the copying of files", "tree", "new", 0, 0, true},
        {"empty folder inside", "holds-empty", "new", 1, 1, true},
        {"empty", "empty", "new", 1, 1, true},
        {"missing", "missing", "new", 1, 1, true},
        {"file", "files/a", "new", 1, 1, true},
        {"only the last level is made", "files", "new/deeper", 1, 0, false},
        {"nothing to copy there", "empty", "new/deeper", 1, 1, false},
        {"into a file", "files", "file", 1, 0, true},
        {"nothing into a file", "empty", "file", 1, 1, true},
        {"folder in the way of a file", "files", "with-folder", 1, 0, true},
        {"file in the way of a folder", "tree", "with-file", 1, 0, true},
        {"onto itself", "files", "files", 1, 0, true},
        {"onto itself in other case", "files", "Files", 1, 0, kOnWindows},
        {"onto itself, empty", "empty", "empty", 1, 1, true},
    };
    if (IsReadOnlyHeeded())
        rows.push_back({"read-only file in the way", "files", "with-fixed", 1, 0, true});
    for (const Row& row : rows) {
        const TestFolder folder;
        MakeTree(folder.HostPath(""), {"files/a", "tree/sub/a", "empty/", "holds-empty/empty/",
                                       "file", "with-fixed/a", "with-folder/a/b", "with-file/sub"});
        fs::permissions(folder.HostPath("with-fixed/a"), fs::perms::owner_read);
        EXPECT_EQ(CopyDirectory(folder.Path(row.from), folder.Path(row.to), row.recursive),
                  row.result)
            << row.rule;
        EXPECT_EQ(fs::exists(folder.HostPath(row.to)), row.toExists) << row.rule;
        for (const char* const name :
             {"files/a", "tree/sub/a", "file", "with-fixed/a", "with-folder/a/b", "with-file/sub"})
            EXPECT_EQ(folder.Read(name), name) << row.rule;
    }
}

TEST_F(CopyDirectoryTest, EndsAtTheFirstCopyThatFails)
{
    MakeTree(folder.HostPath("from"), {"a", "b", "c", "d", "e", "f/g"});
    MakeTree(folder.HostPath("to"), {"c/"});
    EXPECT_EQ(Copy("from", "to"), 0);
    bool isBefore = true;
    WIN32_FIND_DATAW entry;
    const HANDLE listing = FindFirstFileW(folder.Path("from/*"), &entry);
    ASSERT_NE(listing, INVALID_HANDLE_VALUE);
    do {
        const String name = entry.cFileName;
        isBefore = isBefore && name != L"c";
        const DWORD attributes = GetFileAttributesW(folder.Path("to/") + name);
        EXPECT_EQ(attributes != INVALID_FILE_ATTRIBUTES, isBefore || name == L"c")
            << testing::PrintToString(name);
    } while (FindNextFileW(listing, &entry));
    FindClose(listing);
}

TEST_F(CopyDirectoryTest, LinksAsArgumentsAndInTheWay)
{
    MakeTree(folder.HostPath("from"), {"sub/secret"});
    MakeFolderLink(outside.HostPath(""), folder.HostPath("out"));
    MakeFileLink("nowhere", folder.HostPath("dangling"));
    // A copy of the link, and only under a name that is free or that of a file or link.
    // Desktop Windows copies none to a folder.
    EXPECT_EQ(Copy("out", "copy"), OnHost(1, 0));
    EXPECT_EQ(fs::exists(folder.HostPath("copy")), !kOnWindows);
    EXPECT_EQ(Copy("out", "from"), 0);
    if (!kOnWindows) {
        EXPECT_EQ(TargetOfLink(folder.HostPath("copy")), outside.HostPath(""));
        EXPECT_EQ(Copy("dangling", "copy"), 1);
        EXPECT_EQ(TargetOfLink(folder.HostPath("copy")), "nowhere");
        EXPECT_EQ(Copy("from", "dangling"), 0);
    }
    // Nothing is written behind links, neither that of the target nor those in it.
    for (const char* const name : {"out", "out/", "out//"})
        EXPECT_EQ(Copy("from", name), 0) << name;
    EXPECT_EQ(Copy("out/", "copy2"), 0) << "no name of a link to be copied";
    fs::create_directory(folder.HostPath("to"));
    MakeFolderLink(outside.HostPath("sub"), folder.HostPath("to/sub"));
    EXPECT_EQ(Copy("from", "to"), 0);
    EXPECT_TRUE(IsLinkThere(folder.HostPath("to/sub")));
    EXPECT_FALSE(fs::exists(folder.HostPath("nowhere")));
    // Further up they are followed.
    MakeFolderLink("from", folder.HostPath("up"));
    EXPECT_EQ(Copy("up/sub", "up/sub2"), 1);
    EXPECT_EQ(folder.Read("from/sub2/secret"), "sub/secret");
}

TEST_F(CopyDirectoryTest, IntoItselfCopiesWhatWasThere)
{
    const struct {
        const char* rule;
        const char* to;
        const char* target;
    } rows[] = {
        {"new folder", "a/new", "a/new"},
        {"existing folder", "a/x/y", "a/x/y"},
        {"existing folder further down", "a/x/y/z", "a/x/y/z"},
        {"behind a link", "link/x/y/z", "a/x/y/z"},
        {"by way of the folder above", "a/../a/x", "a/x"},
    };
    for (const auto& row : rows) {
        fs::remove_all(folder.HostPath("a"));
        MakeTree(folder.HostPath("a"), {"1", "x/2", "x/y/3", "x/y/z/", "q/4"});
        if (!IsLinkThere(folder.HostPath("link")))
            MakeFolderLink("a", folder.HostPath("link"));
        auto expected = Picture("a");
        EXPECT_EQ(Copy("a", row.to), 1) << row.rule;
        std::map<std::string, std::string> copies = {{"", "folder"}};
        copies.insert(expected.begin(), expected.end());
        for (const auto& [name, text] : copies) {
            const std::string prefix = std::string(row.target).substr(2);
            expected[name.empty() ? prefix : prefix + '/' + name] = text;
        }
        EXPECT_EQ(Picture("a"), expected) << row.rule;
    }
}

TEST_F(CopyDirectoryTest, DeepTrees)
{
    std::string name = "from";
    for (int level = 0; level < 300; ++level)
        name += "/d" + std::to_string(level);
    name += "/file";
    MakeTree(folder.HostPath(""), {name.c_str()});
    EXPECT_EQ(Copy("from", "to"), 1);
    EXPECT_EQ(folder.Read("to" + name.substr(4)), name);
    EXPECT_EQ(folder.Read(name), name);
}

TEST_F(CopyDirectoryTest, ManyFilesInOneFolder)
{
    fs::create_directory(folder.HostPath("from"));
    for (int i = 0; i < kManyFiles; ++i)
        folder.Write("from/File" + std::to_string(i), std::to_string(i));
    EXPECT_EQ(Copy("from", "to"), 1);
    EXPECT_EQ(Picture("to"), Picture("from"));
}

TEST_F(CopyDirectoryTest, WhileFilesComeAndGo)
{
    MakeTree(folder.HostPath("from"), {"a", "sub/b", "sub/c", "z"});
    std::atomic<bool> stop = false;
    std::thread changes([&] {
        for (int i = 0; !stop; ++i) {
            const std::string name = "from/sub/changes" + std::to_string(i % 20);
            folder.Write(name, name);
            fs::remove(folder.HostPath("from/sub/changes" + std::to_string((i + 10) % 20)));
        }
    });
    for (int round = 0; round < 100; ++round) {
        const std::string to = "to" + std::to_string(round);
        const bool done = Copy("from", to.c_str()) != 0;
        for (const auto& [name, text] : Picture(to.c_str()))
            EXPECT_EQ(name.find(".copy"), name.npos) << "nothing unfinished stays";
        for (const char* const name : {"a", "sub/b", "sub/c", "z"}) {
            if (done || fs::exists(folder.HostPath(to + "/" + name))) {
                EXPECT_EQ(folder.Read(to + "/" + name), name);
            }
        }
    }
    stop = true;
    changes.join();
    EXPECT_EQ(Copy("from", "to-last"), 1);
    EXPECT_EQ(Picture("to-last"), Picture("from"));
}

TEST_F(CopyDirectoryTest, NullCopiesNothing)
{
    MakeTree(folder.HostPath(""), {"from/a"});
    EXPECT_EQ(CopyDirectory(nullptr, folder.Path("to"), 1), 0);
    EXPECT_EQ(CopyDirectory(folder.Path("from"), nullptr, 1), 0);
    EXPECT_EQ(Picture("").size(), 2u);
}

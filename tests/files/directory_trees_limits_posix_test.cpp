// Trees where the host sets limits: rights, room on the disk, the stack.
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "files/tree_picture.h"
#include "support/file_size_limit.h"
#include "support/test_folder.h"
#include "xelutils/files/file_funcs.h"
#include "xelutils/files/file_funcs_ex.h"

using namespace FileFuncsEx;

namespace {

using String = CXelStringT<wchar_t>;
namespace fs = std::filesystem;

// Not as root, whom nothing is forbidden.
void BecomeOrdinary()
{
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 && setuid(kNobody) != 0)
        std::_Exit(2);
}

} // namespace

TEST(DirectoryTreeLimits, FullDisk)
{
    const TestFolder folder;
    MakeTree(folder.HostPath(""), {"from/sub/", "to/sub/old"});
    folder.Write("from/sub/old", std::string(100000, 'x'));
    const auto before = PictureOf(folder.HostPath("to"));
    {
        const FileSizeLimit full(65536);
        EXPECT_EQ(CopyDirectory(folder.Path("from"), folder.Path("to"), 1), 0);
        EXPECT_EQ(CopyFromTo(folder.Path("from/sub/old"), folder.Path("to/sub/new"), 1), 0);
    }
    EXPECT_EQ(PictureOf(folder.HostPath("to")), before);
    EXPECT_EQ(CopyDirectory(folder.Path("from"), folder.Path("to"), 1), 1);
    EXPECT_EQ(PictureOf(folder.HostPath("to")), PictureOf(folder.HostPath("from")));
}

TEST(DirectoryTreeLimits, FoldersWithoutPermission)
{
    const TestFolder folder;
    MakeTree(folder.HostPath(""), {"closed/a", "tree/fixed/b", "to/"});
    fs::permissions(folder.HostPath("to"), fs::perms::all);
    fs::permissions(folder.HostPath("tree"), fs::perms::all);
    fs::permissions(folder.HostPath("tree/fixed"), fs::perms(0555));
    fs::permissions(folder.HostPath("closed"), fs::perms::none);
    const auto check = [&folder] {
        BecomeOrdinary();
        // It lists nothing, as if it were empty.
        if (CopyDirectory(folder.Path("closed"), folder.Path("to/closed"), 1) != 1 ||
            !fs::is_empty(folder.HostPath("to/closed")))
            std::_Exit(3);
        if (RemoveDirectoryTree(folder.Path("closed")) != 0 ||
            CountFiles(folder.Path("closed")) != 0)
            std::_Exit(4);
        if (CopyDirectory(folder.Path("to"), folder.Path("tree/fixed"), 1) != 1 ||
            CopyDirectory(folder.Path("tree"), folder.Path("closed"), 1) != 0 ||
            CreateDirectoryTree(folder.Path("tree/fixed/x/y")) != 0)
            std::_Exit(5);
        std::_Exit(RemoveDirectoryTree(folder.Path("tree")) == 0 ? 0 : 1);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
    fs::permissions(folder.HostPath("closed"), fs::perms::owner_all);
    EXPECT_EQ(folder.Read("closed/a"), "closed/a");
    EXPECT_EQ(folder.Read("tree/fixed/b"), "tree/fixed/b");
    EXPECT_EQ(PictureOf(folder.HostPath("tree")).size(), 2u);
}

TEST(DirectoryTreeLimits, RootAndWorkingDirectoryStay)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const TestFolder folder;
    MakeTree(folder.HostPath(""), {"work/here/a", "work/b", "c"});
    const auto before = PictureOf(folder.HostPath(""));
    const auto check = [&folder, &before] {
        setenv("XEL_DEVICE_ROOT", folder.HostPath("").c_str(), 1);
        fs::current_path(folder.HostPath("work/here"));
        // Only here may anything be removed.
        if (!FileFuncs::IsDirExist(L"\\work\\here"))
            std::_Exit(2);
        const String hostPath = L"\\.host" + folder.Path("");
        const String nameOfRoot =
            L"..\\..\\..\\" +
            xel_text::FromUtf8(fs::path(folder.HostPath("")).parent_path().filename().string());
        for (const wchar_t* const path :
             {L"", L"\\", L"/", L"\\.", L"\\work\\..", L".", L"..", L"..\\..", L"..\\..\\..",
              L"..\\here\\..", hostPath.GetString(), nameOfRoot.GetString()}) {
            if (RemoveDirectoryTree(path) != 0)
                std::_Exit(1);
        }
        const bool isWhole = PictureOf(folder.HostPath("")) == before;
        fs::remove_all(folder.HostPath(""));
        std::_Exit(isWhole ? 0 : 1);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
}

#include <gtest/gtest.h>

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "support/test_folder.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/program_path.h"

TEST(ModuleName, IsTheProgramsDevicePath)
{
    std::string path = std::filesystem::canonical("/proc/self/exe").string();
    std::replace(path.begin(), path.end(), '/', '\\');
    wchar_t name[4096];
    GetModuleFileNameW(nullptr, name, 4096);
    EXPECT_EQ(xel_text::CXelStringT<wchar_t>(name), xel_text::FromUtf8(path));
}

TEST(ModuleName, FollowsAFileThatMovesAndEndsWithItsLastName)
{
    const TestFolder folder;
    const std::string real = std::filesystem::canonical(folder.HostPath("")).string() + "/";
    folder.Write("app", "");
    const int file = open(folder.HostPath("app").c_str(), O_RDONLY | O_CLOEXEC);
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    EXPECT_EQ(FileBehindLink(link.c_str()), real + "app");
    std::filesystem::rename(folder.HostPath("app"), folder.HostPath("app (deleted)"));
    EXPECT_EQ(FileBehindLink(link.c_str()), real + "app (deleted)");
    std::filesystem::rename(folder.HostPath("app (deleted)"), folder.HostPath("new"));
    EXPECT_EQ(FileBehindLink(link.c_str()), real + "new");
    // A newer version takes its place.
    folder.Write("other", "");
    std::filesystem::rename(folder.HostPath("other"), folder.HostPath("new"));
    EXPECT_EQ(FileBehindLink(link.c_str()), real + "new");
    std::filesystem::remove(folder.HostPath("new"));
    EXPECT_EQ(FileBehindLink(link.c_str()), real + "new");
    // Another file has the name with what the kernel adds to it.
    folder.Write("new (deleted)", "");
    EXPECT_EQ(FileBehindLink(link.c_str()), real + "new");
    close(file);
    EXPECT_EQ(FileBehindLink(link.c_str()), "");
}

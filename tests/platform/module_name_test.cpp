#include <gtest/gtest.h>

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "support/test_folder.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/program_path.h"

namespace {

using WideString = xel_text::CXelStringT<wchar_t>;

WideString OwnPath()
{
    std::string path = std::filesystem::canonical("/proc/self/exe").string();
    std::replace(path.begin(), path.end(), '/', '\\');
    return xel_text::FromUtf8(path);
}

} // namespace

TEST(ModuleName, IsTheProgramsDevicePathCutToTheBuffer)
{
    const WideString path = OwnPath();
    const int length = path.GetLength();
    const struct {
        int size, result, stored;
        DWORD error;
    } rows[] = {
        {length + 2, length, length, ERROR_SUCCESS},
        {length + 1, length, length, ERROR_SUCCESS},
        {length, length, length - 1, ERROR_INSUFFICIENT_BUFFER},
        {2, 2, 1, ERROR_INSUFFICIENT_BUFFER},
        {1, 1, 0, ERROR_INSUFFICIENT_BUFFER},
    };
    for (const auto& row : rows) {
        std::u16string buffer(static_cast<std::size_t>(length) + 3, u'x');
        SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(GetModuleFileNameW(nullptr, reinterpret_cast<wchar_t*>(buffer.data()),
                                     static_cast<DWORD>(row.size)),
                  static_cast<DWORD>(row.result));
        EXPECT_EQ(GetLastError(), row.error);
        const auto stored = static_cast<std::size_t>(row.stored);
        std::u16string expected(xel_text::ToUtf16(path.Left(row.stored)));
        expected += u'\0';
        expected.resize(buffer.size(), u'x');
        EXPECT_EQ(buffer, expected) << stored;
    }
}

TEST(ModuleName, RefusesOtherModulesAndNoBuffer)
{
    wchar_t name[] = L"x";
    EXPECT_EQ(GetModuleFileNameW(nullptr, name, 0), 0u);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(GetModuleFileNameW(name, name, 2), 0u);
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
    EXPECT_EQ(WideString(name), L"x");
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

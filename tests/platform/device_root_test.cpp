#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

#include "support/test_folder.h"
#include "xelutils/files/file_funcs.h"
#include "xelutils/platform/root_folder.h"

TEST(DeviceRoot, ProgramInItHasAnEmptyFolder)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto check = [] {
        const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
        setenv("XEL_DEVICE_ROOT", program.parent_path().c_str(), 1);
        const bool right = GetApplicationPath() == L"\\xelutils_tests" && GetExeDir().IsEmpty() &&
                           GetRootDir().IsEmpty() && GetDocsDir().IsEmpty();
        std::_Exit(right ? 0 : 1);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
}

TEST(DeviceRoot, IsKnownByWhateverName)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto check = [] {
        const TestFolder folder;
        std::filesystem::create_directories(folder.HostPath("root/sub"));
        std::filesystem::create_directory_symlink("root", folder.HostPath("link"));
        std::filesystem::create_directory_symlink("..", folder.HostPath("root/sub/up"));
        setenv("XEL_DEVICE_ROOT", folder.HostPath("link").c_str(), 1);
        std::filesystem::current_path(folder.HostPath("root/sub"));
        const auto host = [&folder](const char* name) { return L"\\.host" + folder.Path(name); };
        const struct {
            xel_text::CXelStringT<wchar_t> path;
            bool isRoot;
        } rows[] = {
            {L"", true},
            {L"\\", true},
            {L"/./", true},
            {L"\\sub\\..", true},
            {L"..\\..", true},
            {L"up", true},
            {L"\\SUB\\UP\\", true},
            {host("root"), true},
            {host("link"), true},
            {host("root/sub"), false},
            {host(""), false},
            {L"\\.host", true},
            {L".", false},
            {L"\\root", false},
        };
        bool right = IsRootFolder(nullptr);
        for (const auto& row : rows)
            right = right && IsRootFolder(row.path) == row.isRoot;
        // Neither the root nor the working directory goes, though both are empty.
        std::filesystem::remove(folder.HostPath("root/sub/up"));
        right = right && !RemoveDirectoryW(host("root/sub")) && !RemoveDirectoryW(L"\\sub") &&
                GetLastError() == ERROR_ACCESS_DENIED;
        std::filesystem::current_path(folder.HostPath("."));
        right = right && RemoveDirectoryW(L"\\sub") && !RemoveDirectoryW(host("root")) &&
                GetLastError() == ERROR_ACCESS_DENIED &&
                std::filesystem::exists(folder.HostPath("root"));
        std::filesystem::remove_all(folder.HostPath(""));
        std::_Exit(right ? 0 : 1);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
}

// Without a working directory a relative name means nothing; at the root it would mean too much.
TEST(DeviceRoot, NothingIsRelativeToAFolderThatIsGone)
{
    GTEST_FLAG_SET(death_test_style, "fast");
    const TestFolder folder;
    const auto check = [&folder] {
        const std::filesystem::path gone = folder.HostPath("gone");
        std::filesystem::create_directory(gone);
        std::filesystem::current_path(gone);
        std::filesystem::remove(gone);
        const bool right = GetFileAttributesW(L"tmp") == INVALID_FILE_ATTRIBUTES &&
                           GetLastError() == ERROR_PATH_NOT_FOUND &&
                           GetFileAttributesW(folder.Path("")) == FILE_ATTRIBUTE_DIRECTORY;
        std::_Exit(right ? 0 : 1);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
}

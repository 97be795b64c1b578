#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

#include "support/test_folder.h"
#include "xelutils/files/file_funcs.h"

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

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

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

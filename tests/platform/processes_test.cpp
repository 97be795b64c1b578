#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "platform/processes.h"
#include "support/target.h"
#include "support/test_folder.h"

namespace {

// A program of the tests, in a folder of its own, where it leaves what it was given.
class ChildTest : public testing::Test {
protected:
    ChildTest() { std::filesystem::copy_file(ARGUMENT_CHILD_PROGRAM, m_folder.HostPath("Child")); }

    const TestFolder m_folder;
};

} // namespace

TEST(Processes, TellsWhyNot)
{
    const TestFolder folder;
    std::filesystem::create_directory(folder.HostPath("folder"));
    const auto program = [&folder](const char* name, const std::string& bytes) {
        folder.Write(name, bytes);
        std::filesystem::permissions(folder.HostPath(name), std::filesystem::perms::owner_all);
        return folder.Path(name);
    };
    const struct {
        WideString name;
        DWORD error;
    } rows[] = {
        {L"", ERROR_PATH_NOT_FOUND},
        {L"missing", ERROR_FILE_NOT_FOUND},
        {folder.Path("missing"), ERROR_FILE_NOT_FOUND},
        {folder.Path("missing/program"), ERROR_PATH_NOT_FOUND},
        // Wine takes a folder for a file that it cannot read.
        {folder.Path(""), OnHost(ERROR_PATH_NOT_FOUND, ERROR_INVALID_HANDLE)},
        {folder.Path("folder"), OnHost(ERROR_ACCESS_DENIED, ERROR_INVALID_HANDLE)},
        {program("text", "text"), ERROR_BAD_EXE_FORMAT},
        {program("empty", ""), ERROR_BAD_EXE_FORMAT},
    };
    for (const auto& row : rows) {
        PROCESS_INFORMATION process = {};
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(Start(row.name, L"", process)) << xel_text::ToUtf8(row.name);
        EXPECT_EQ(GetLastError(), row.error) << xel_text::ToUtf8(row.name);
        EXPECT_EQ(process.hProcess, nullptr);
    }
}

TEST_F(ChildTest, HasTwoHandlesThatAreRefusedOnceClosed)
{
    PROCESS_INFORMATION process = {};
    ASSERT_TRUE(Start(m_folder.Path("CHILD"), L"exit 9", process));
    DWORD code = 0;
    EXPECT_EQ(WaitForSingleObject(process.hThread, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(GetExitCodeProcess(process.hProcess, &code));
    EXPECT_EQ(code, 9u);
    EXPECT_TRUE(CloseHandle(process.hThread));
    EXPECT_TRUE(CloseHandle(process.hProcess));
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(WaitForSingleObject(process.hProcess, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(GetExitCodeProcess(process.hProcess, &code));
}

TEST_F(ChildTest, IsWaitedForInTimeOrUntilItEnds)
{
    using Clock = std::chrono::steady_clock;
    const Child child(m_folder.Path("Child"), L"sleep 300 exit 259");
    const HANDLE handle = child.process.hProcess;
    EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_TIMEOUT);
    const auto start = Clock::now();
    EXPECT_EQ(WaitForSingleObject(handle, 50), WAIT_TIMEOUT);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(50));
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeProcess(handle, &code));
    EXPECT_EQ(code, STILL_ACTIVE);
    EXPECT_EQ(WaitForSingleObject(handle, INFINITE - 1), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_OBJECT_0);
    // POSIX keeps 8 bits.
    EXPECT_EQ(child.Wait(), OnHost(259u & 0xFF, 259u));
}

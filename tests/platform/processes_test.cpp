#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "support/test_folder.h"
#include "xelutils/system/library_funcs.h"

namespace {

using WideString = xel_text::CXelStringT<wchar_t>;

BOOL Start(const WideString& program, const wchar_t* arguments, PROCESS_INFORMATION& process)
{
    WideString commandLine(arguments);
    STARTUPINFOW startup = {};
    return CreateProcessW(program, commandLine.GetBuffer(0), nullptr, nullptr, FALSE,
                          CREATE_NEW_CONSOLE, nullptr, nullptr, &startup, &process);
}

// A child that a shell plays.
struct Child {
    explicit Child(const wchar_t* script)
    {
        const WideString arguments = WideString(L"-c \"") + script + L"\"";
        EXPECT_TRUE(Start(L"\\bin\\sh", arguments, process));
    }
    ~Child()
    {
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    // 1000 when it cannot be learned.
    DWORD Wait()
    {
        DWORD code = 1000;
        WaitForSingleObject(process.hProcess, INFINITE);
        GetExitCodeProcess(process.hProcess, &code);
        return code;
    }

    PROCESS_INFORMATION process = {};
};

// Lets SIGCHLD be ignored until it goes.
struct IgnoredChildren {
    IgnoredChildren() { std::signal(SIGCHLD, SIG_IGN); }
    ~IgnoredChildren() { std::signal(SIGCHLD, SIG_DFL); }
};

void ExpectUnknownEnd(const Child& child)
{
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(WaitForSingleObject(child.process.hProcess, INFINITE), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_WAIT_NO_CHILDREN);
    SetLastError(ERROR_SUCCESS);
    DWORD code = 1000;
    EXPECT_FALSE(GetExitCodeProcess(child.process.hProcess, &code));
    EXPECT_EQ(GetLastError(), ERROR_WAIT_NO_CHILDREN);
    EXPECT_EQ(code, 1000u);
}

// The end of a child that nobody has collected; the child stays as it is.
void AwaitEnd(DWORD id)
{
    siginfo_t end;
    ASSERT_EQ(waitid(P_PID, id, &end, WEXITED | WNOWAIT), 0);
}

} // namespace

TEST(CreateProcess, TellsWhyNot)
{
    TestFolder folder;
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
        {L"sh", ERROR_FILE_NOT_FOUND},
        {folder.Path("missing"), ERROR_FILE_NOT_FOUND},
        {folder.Path("missing/program"), ERROR_PATH_NOT_FOUND},
        {folder.Path(""), ERROR_PATH_NOT_FOUND},
        {L"\\bin", ERROR_ACCESS_DENIED},
        {folder.Write("not executable", "#!/bin/sh\n"), ERROR_ACCESS_DENIED},
        {program("text", "text"), ERROR_BAD_EXE_FORMAT},
        {program("empty", ""), ERROR_BAD_EXE_FORMAT},
        {program("no interpreter", "#!/missing/interpreter\n"), ERROR_BAD_EXE_FORMAT},
    };
    for (const auto& row : rows) {
        PROCESS_INFORMATION process = {};
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(Start(row.name, L"", process)) << xel_text::ToUtf8(row.name);
        EXPECT_EQ(GetLastError(), row.error) << xel_text::ToUtf8(row.name);
        EXPECT_EQ(process.hProcess, nullptr);
    }
}

TEST(CreateProcess, GivesTwoHandlesThatAreRefusedOnceClosed)
{
    PROCESS_INFORMATION process = {};
    ASSERT_TRUE(Start(L"\\BIN\\SH", L"-c \"exit 9\"", process));
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

TEST(CreateProcess, GivesTheChildNothingButTheStandardStreams)
{
    constexpr int kOpen = 57;
    ASSERT_EQ(dup2(STDERR_FILENO, kOpen), kOpen);
    EXPECT_EQ(Child(L"[ -e /proc/$$/fd/2 ] && ! [ -e /proc/$$/fd/57 ]").Wait(), 0u);
    close(kOpen);
}

TEST(CreateProcess, GivesTheChildTheUsualSignals)
{
    sigset_t blocked, before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    std::signal(SIGUSR2, SIG_IGN);
    // What a signal ended has 128 and its number.
    EXPECT_EQ(Child(L"kill -USR1 $$; exit 7").Wait(), 128u + SIGUSR1);
    EXPECT_EQ(Child(L"kill -USR2 $$; exit 7").Wait(), 128u + SIGUSR2);
    std::signal(SIGUSR2, SIG_DFL);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST(WaitForChild, EndsInTimeOrWithTheChild)
{
    using Clock = std::chrono::steady_clock;
    Child child(L"sleep 0.3; exit 259");
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
    EXPECT_EQ(child.Wait(), 259u & 0xFF);
}

TEST(WaitForChild, FailsWhereTheHostTakesTheEndForItself)
{
    Child taken(L"exit 3");
    int status = 0;
    EXPECT_EQ(waitpid(static_cast<pid_t>(taken.process.dwProcessId), &status, 0),
              static_cast<pid_t>(taken.process.dwProcessId));
    ExpectUnknownEnd(taken);

    const IgnoredChildren ignored;
    ExpectUnknownEnd(Child(L"sleep 0.1; exit 3"));
    // Its handles stay open for ever; that costs no descriptor.
    const int free = dup(STDERR_FILENO);
    close(free);
    unsigned long code = 1000;
    EXPECT_FALSE(LaunchExe(L"\\bin\\sh", L"-c \"exit 3\" ", code));
    EXPECT_EQ(code, 1000u);
    EXPECT_EQ(dup(STDERR_FILENO), free);
    close(free);
}

TEST(CreateProcess, CollectsChildrenThatNobodyWaitsFor)
{
    // Starts another child, which collects the one that has ended.
    const auto expectCollected = [](DWORD id) {
        Child(L"exit 5").Wait();
        EXPECT_EQ(waitpid(static_cast<pid_t>(id), nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
    };
    DWORD closed = 0;
    {
        const Child child(L"exit 3");
        closed = child.process.dwProcessId;
        AwaitEnd(closed);
    }
    expectCollected(closed);

    Child open(L"exit 4");
    AwaitEnd(open.process.dwProcessId);
    expectCollected(open.process.dwProcessId);
    EXPECT_EQ(open.Wait(), 4u);
}

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/processes.h"
#include "support/test_folder.h"
#include "xelutils/system/library_funcs.h"

namespace {

// Played by a shell.
struct Script : Child {
    explicit Script(const wchar_t* text) : Child(L"\\bin\\sh", WideString(L"-c \"") + text + L"\"")
    {
    }
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

TEST(ProcessesOnPosix, TellsWhyNot)
{
    const TestFolder folder;
    const auto expectError = [](const WideString& program, DWORD error) {
        PROCESS_INFORMATION process = {};
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(Start(program, L"", process)) << xel_text::ToUtf8(program);
        EXPECT_EQ(GetLastError(), error) << xel_text::ToUtf8(program);
    };
    folder.Write("script", "#!/missing/interpreter\n");
    expectError(folder.Path("script"), ERROR_ACCESS_DENIED);
    std::filesystem::permissions(folder.HostPath("script"), std::filesystem::perms::owner_all);
    expectError(folder.Path("script"), ERROR_BAD_EXE_FORMAT);
}

TEST(ProcessesOnPosix, GivesTheChildNothingButTheStandardStreams)
{
    constexpr int kOpen = 57;
    ASSERT_EQ(dup2(STDERR_FILENO, kOpen), kOpen);
    EXPECT_EQ(Script(L"[ -e /proc/$$/fd/2 ] && ! [ -e /proc/$$/fd/57 ]").Wait(), 0u);
    close(kOpen);
}

TEST(ProcessesOnPosix, GivesTheChildTheUsualSignals)
{
    sigset_t blocked, before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    std::signal(SIGUSR2, SIG_IGN);
    // What a signal ended has 128 and its number.
    EXPECT_EQ(Script(L"kill -USR1 $$; exit 7").Wait(), 128u + SIGUSR1);
    EXPECT_EQ(Script(L"kill -USR2 $$; exit 7").Wait(), 128u + SIGUSR2);
    std::signal(SIGUSR2, SIG_DFL);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST(ProcessesOnPosix, FailsWhereTheHostTakesTheEndForItself)
{
    Script taken(L"exit 3");
    int status = 0;
    EXPECT_EQ(waitpid(static_cast<pid_t>(taken.process.dwProcessId), &status, 0),
              static_cast<pid_t>(taken.process.dwProcessId));
    ExpectUnknownEnd(taken);

    const IgnoredChildren ignored;
    ExpectUnknownEnd(Script(L"sleep 0.1; exit 3"));
    // Its handles stay open for ever; that costs no descriptor.
    const int free = dup(STDERR_FILENO);
    close(free);
    unsigned long code = 1000;
    EXPECT_FALSE(LaunchExe(L"\\bin\\sh", L"-c \"exit 3\" ", code));
    EXPECT_EQ(code, 1000u);
    EXPECT_EQ(dup(STDERR_FILENO), free);
    close(free);
}

TEST(ProcessesOnPosix, CollectsChildrenThatNobodyWaitsFor)
{
    // Starts another child, which collects the one that has ended.
    const auto expectCollected = [](DWORD id) {
        Script(L"exit 5").Wait();
        EXPECT_EQ(waitpid(static_cast<pid_t>(id), nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
    };
    DWORD closed = 0;
    {
        const Script child(L"exit 3");
        closed = child.process.dwProcessId;
        AwaitEnd(closed);
    }
    expectCollected(closed);

    Script open(L"exit 4");
    AwaitEnd(open.process.dwProcessId);
    expectCollected(open.process.dwProcessId);
    EXPECT_EQ(open.Wait(), 4u);
}

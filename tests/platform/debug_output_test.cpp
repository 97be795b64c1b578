#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "support/test_folder.h"
#include "xelutils/platform/coredll.h"

namespace {

// Before the first call asks for it.
[[maybe_unused]] const int g_isNotSilenced = unsetenv("XEL_DEBUG_OUTPUT");

// Standard error leads elsewhere for one test; what it is set to is closed here.
class StandardErrorTest : public testing::Test {
protected:
    StandardErrorTest() : m_before(dup(STDERR_FILENO)) {}
    ~StandardErrorTest() override
    {
        dup2(m_before, STDERR_FILENO);
        close(m_before);
    }
    static void LeadTo(int descriptor)
    {
        dup2(descriptor, STDERR_FILENO);
        close(descriptor);
    }

private:
    const int m_before;
};

bool IsBrokenPipePending()
{
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
}

using Clock = std::chrono::steady_clock;

} // namespace

using DebugOutput = StandardErrorTest;

TEST_F(DebugOutput, IsUtf8)
{
    const TestFolder folder;
    LeadTo(open(folder.HostPath("err").c_str(), O_WRONLY | O_CREAT, 0600));
    SetLastError(77);
    errno = 78;
    OutputDebugStringW(L"a\x7F\x80\x7FF\x800\xFFFF\xD800\xDC00\xDBFF\xDFFF");
    OutputDebugStringW(L"\xD800z\xDC00");
    OutputDebugStringW(L"");
    OutputDebugStringW(nullptr);
    EXPECT_EQ(GetLastError(), 77u);
    EXPECT_EQ(errno, 78);
    EXPECT_EQ(folder.Read("err"), "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80"
                                  "\xF4\x8F\xBF\xBF\xEF\xBF\xBDz\xEF\xBF\xBD");
}

// And a signal that was waiting goes on waiting.
TEST_F(DebugOutput, NoHarmFromAReaderWhoHasGone)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    LeadTo(ends[1]);
    OutputDebugStringW(L"to nobody");
    EXPECT_FALSE(IsBrokenPipePending());

    sigset_t brokenPipe, before;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, &before);
    raise(SIGPIPE);
    OutputDebugStringW(L"to nobody");
    EXPECT_TRUE(IsBrokenPipePending());
    int signal = 0;
    sigwait(&brokenPipe, &signal);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST_F(DebugOutput, NoHarmFromClosedStandardError)
{
    close(STDERR_FILENO);
    OutputDebugStringW(L"to nobody");
    const int descriptor = open("/dev/null", O_RDONLY);
    EXPECT_EQ(descriptor, STDERR_FILENO);
}

TEST_F(DebugOutput, DoesNotWaitForeverForAReader)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    LeadTo(ends[1]);
    fcntl(STDERR_FILENO, F_SETFL, O_NONBLOCK);
    const std::string block(4096, 'x');
    while (write(STDERR_FILENO, block.data(), block.size()) > 0) {
    }
    fcntl(STDERR_FILENO, F_SETFL, 0);

    Clock::time_point start = Clock::now();
    OutputDebugStringW(L"lost");
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(900));
    start = Clock::now();
    for (int i = 0; i < 100; ++i)
        OutputDebugStringW(L"lost at once");
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(900));

    // The reader reads again.
    std::string text(1 << 20, 0);
    ASSERT_GT(read(ends[0], text.data(), text.size()), 0);
    OutputDebugStringW(L"seen");
    const ssize_t count = read(ends[0], text.data(), text.size());
    EXPECT_EQ(text.substr(0, static_cast<std::size_t>(count)), "seen");
    close(ends[0]);
}

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <string_view>
#include <unistd.h>

#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/utf.h"
#include "xelutils/platform/posix/wide_length.h"

namespace {

// Looked at before any code of the program runs: where a program starts without standard error,
// the next file that it opens gets that number, and no text must land in there.
struct AtStart {
    const bool hadStandardError = fcntl(STDERR_FILENO, F_GETFD) != -1;
};
[[gnu::init_priority(101)]] const AtStart g_atStart;

bool IsSilenced()
{
    const char* const choice = std::getenv("XEL_DEBUG_OUTPUT");
    return choice != nullptr && std::strcmp(choice, "none") == 0;
}

std::string Utf8From(const wchar_t* text)
{
    constexpr char32_t kReplacement = 0xFFFD;
    const wchar_t* const end = text + WideLength(text);
    std::string utf8;
    utf8.reserve(static_cast<std::size_t>(end - text));
    while (text != end) {
        const char32_t character = TakeCharacter(text, end);
        const bool isWhole = !IsHighSurrogate(character) && !IsLowSurrogate(character);
        AppendUtf8(utf8, isWhole ? character : kReplacement);
    }
    return utf8;
}

// Keeps a write from ending the program by SIGPIPE: the signal is held back for this thread, and
// one that came is taken away, unless one was waiting before.
class WithoutBrokenPipeSignal {
public:
    WithoutBrokenPipeSignal()
    {
        sigemptyset(&m_brokenPipe);
        sigaddset(&m_brokenPipe, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &m_brokenPipe, &m_before);
    }
    ~WithoutBrokenPipeSignal()
    {
        constexpr timespec kNow{};
        if (!m_wasPending) {
            while (sigtimedwait(&m_brokenPipe, nullptr, &kNow) < 0 && errno == EINTR) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    WithoutBrokenPipeSignal(const WithoutBrokenPipeSignal&) = delete;
    WithoutBrokenPipeSignal& operator=(const WithoutBrokenPipeSignal&) = delete;

private:
    sigset_t m_brokenPipe;
    sigset_t m_before;
    bool m_wasPending;
};

// Whether standard error takes text now or within the time that is left to its reader: a second,
// and none once that was used up, until the reader reads again.
bool TakesText()
{
    constexpr int kPatienceMs = 1000;
    static std::atomic<bool> s_readerIsIdle = false;
    pollfd standardError = {STDERR_FILENO, POLLOUT, 0};
    const int ready = poll(&standardError, 1, s_readerIsIdle ? 0 : kPatienceMs);
    // What cannot be waited for is written to at once.
    const bool takes = ready != 0;
    s_readerIsIdle = !takes;
    return takes;
}

void WriteToStandardError(std::string_view text)
{
    while (!text.empty() && TakesText()) {
        // A pipe that takes text has room for so much, and for more it would wait.
        const ssize_t count =
            write(STDERR_FILENO, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
        if (count > 0)
            text.remove_prefix(static_cast<std::size_t>(count));
        else if (count == 0 || (errno != EINTR && errno != EAGAIN))
            return;
    }
}

} // namespace

void OutputDebugStringW(const wchar_t* text)
{
    static const bool s_silenced = IsSilenced();
    if (text == nullptr || s_silenced || !g_atStart.hadStandardError)
        return;
    const int error = errno;
    {
        const WithoutBrokenPipeSignal guard;
        WriteToStandardError(Utf8From(text));
    }
    errno = error;
}

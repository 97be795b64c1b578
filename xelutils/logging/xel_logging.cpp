#include "xelutils/logging/xel_logging.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <new>

#include "xelutils/files/file_funcs.h"
#include "xelutils/platform/framework.h"
#include "xelutils/platform/unload.h"

namespace xel_logging {

namespace detail {

constinit std::atomic<std::uint32_t> g_levelMask = ~std::uint32_t{0};

} // namespace detail

namespace {

// The one switch for what is produced.
constexpr std::uint32_t kLevelMask = 1;
// Levels with this bit are shown by a debugger.
constexpr std::uint32_t kDebuggerBit = 4;

// What FormatV cuts its text at.
constexpr int kLongestMessage = 2048;

// Set at the end of the program, and before the logger is looked for there.
constinit std::atomic<bool> g_isFinished = false;

CXelStringT<wchar_t> LogFileName()
{
    CXelStringT<wchar_t> base =
        FileFuncs::ExtractPathNameWithoutExtFromPathName(GetApplicationPath());
    if (base.IsEmpty())
        base = L"xel";
    return base + L".log.txt";
}

void WriteStartLine()
{
    FILETIME now = {};
    CXelStringT<wchar_t> date;
    CXelStringT<wchar_t> clock;
    FileFuncs::xelGetSystemTimeAsFileTime(now);
    FileFuncs::ConvertAndFormatFileTime(now, &date, &clock);
    XEL_TRACE_ALWAYS(L"Program %s started on %s %s", GetApplicationPath(), date, clock);
}

constexpr wchar_t kLineEnd[] = L"\r\n";
constexpr int kLineEndLength = 2;

// The decimal digits, with leading fillers to at least `width` characters. Returns the end.
wchar_t* PutNumber(wchar_t* target, DWORD number, wchar_t filler, int width)
{
    char digits[std::numeric_limits<DWORD>::digits10 + 1];
    const char* const end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    for (auto missing = width - (end - digits); missing > 0; --missing)
        *target++ = filler;
    for (const char* digit = digits; digit != end; ++digit)
        *target++ = static_cast<wchar_t>(*digit);
    return target;
}

// What "%05u.%03u ;%2d ; " makes of seconds, milliseconds and level. Every line has one, and going
// through the formatter would cost more than the rest of the composition.
wchar_t* PutPrefix(wchar_t* target, DWORD elapsedMs, std::uint32_t level)
{
    constexpr int kDigitsOfSeconds = 5;
    constexpr int kDigitsOfMilliseconds = 3;
    target = PutNumber(target, elapsedMs, '0', kDigitsOfSeconds + kDigitsOfMilliseconds);
    wchar_t* const milliseconds = target - kDigitsOfMilliseconds;
    std::copy_backward(milliseconds, target, target + 1);
    *milliseconds = '.';
    target = milliseconds + kDigitsOfMilliseconds + 1;
    *target++ = ' ';
    *target++ = ';';
    target = PutNumber(target, level, ' ', 2);
    *target++ = ' ';
    *target++ = ';';
    *target++ = ' ';
    return target;
}
// 4294967.295 ; 7 ;
constexpr int kLongestPrefix = 18;

class Logger {
public:
    // Tracing again while it is held is possible.
    CCriticalSection& Lock() { return m_lock; }

    void Start()
    {
        if (!g_isFinished && m_file.Open(LogFileName(), kOpenFlags)) {
            m_isOpen = true;
            m_startTicks = GetTickCount();
            constexpr unsigned char kByteOrderMark[] = {0xFF, 0xFE};
            WriteToFile(kByteOrderMark, sizeof kByteOrderMark);
            WriteStartLine();
        }
    }

    void WriteLine(std::uint32_t level, const wchar_t* message, int length)
    {
        const CSingleLock guard(&m_lock, TRUE);
        wchar_t* const start = m_line.GetBuffer(kLongestPrefix + length + kLineEndLength);
        const DWORD elapsedMs = GetTickCount() - m_startTicks;
        // Many lines come in one millisecond; the buffer still begins with what they share.
        if (m_prefixLength == 0 || elapsedMs != m_prefixMs || level != m_prefixLevel) {
            m_prefixLength = PutPrefix(start, elapsedMs, level) - start;
            m_prefixMs = elapsedMs;
            m_prefixLevel = level;
        }
        wchar_t* end = start + m_prefixLength;
        end = std::copy_n(message, length, end);
        end = std::copy_n(kLineEnd, kLineEndLength, end);
        const auto lineLength = static_cast<int>(end - start);
        m_line.ReleaseBuffer(lineLength);
        if (m_isOpen)
            WriteToFile(start, static_cast<std::size_t>(lineLength) * sizeof(wchar_t));
        if ((level & kDebuggerBit) != 0)
            OutputDebugStringW(m_line);
    }

    // The logger itself stays, because other threads may be tracing.
    void Finish()
    {
        const CSingleLock guard(&m_lock, TRUE);
        const CXelStringT<wchar_t> message(L"Logging finished");
        WriteLine(detail::kAlways, message, message.GetLength());
        m_isOpen = false;
        m_file.Close();
        m_line = CXelStringT<wchar_t>();
        m_prefixLength = 0;
    }

private:
    static constexpr UINT kOpenFlags = CFile::modeCreate | CFile::modeWrite | CFile::shareDenyWrite;

    void WriteToFile(const void* data, std::size_t size)
    {
        try {
            m_file.Write(data, static_cast<UINT>(size));
        } catch (const CFileException&) {
            // The line is lost: a program must not fail because its log does.
        }
    }

    CFile m_file;
    CCriticalSection m_lock;
    // Composed here, one line after the other.
    CXelStringT<wchar_t> m_line;
    // What the line begins with; a length of 0 when there was no line yet.
    std::ptrdiff_t m_prefixLength = 0;
    DWORD m_prefixMs = 0;
    std::uint32_t m_prefixLevel = 0;
    // Also of a logger without file, whose lines have a time as well.
    DWORD m_startTicks = GetTickCount();
    bool m_isOpen = false;
};

// Null until the first trace.
constinit std::atomic<Logger*> g_logger = nullptr;

// The first thread makes the logger and holds its lock until the start line is written, so that
// lines of the others come behind that. The start line itself is a trace which finds the logger.
[[gnu::noinline]] Logger& MakeLogger()
{
    static constinit std::atomic_flag s_isTaken;
    alignas(Logger) static unsigned char s_place[sizeof(Logger)];
    if (s_isTaken.test_and_set()) {
        // Not atomic::wait, which may miss its notification where the system has no call for it.
        Logger* made = nullptr;
        while ((made = g_logger) == nullptr)
            Sleep(1);
        return *made;
    }
    Logger* const logger = new (s_place) Logger;
    const CSingleLock guard(&logger->Lock(), TRUE);
    // Who finds the logger finds its mask too.
    detail::g_levelMask = kLevelMask;
    g_logger = logger;
    logger->Start();
    return *logger;
}

Logger& TheLogger()
{
    Logger* const logger = g_logger.load(std::memory_order_acquire);
    return logger != nullptr ? *logger : MakeLogger();
}

constinit std::atomic<int> g_callsUnderWay = 0;

struct CallUnderWay {
    CallUnderWay() { g_callsUnderWay.fetch_add(1); }
    ~CallUnderWay() { g_callsUnderWay.fetch_sub(1); }
};

// When the library goes, its code must not go from under a thread that is still in it. A thread
// that cannot come out because it waits for the loader, which unloads just now, is given up.
void WaitForCallsUnderWay()
{
    constexpr int kPatienceMs = 2000;
    for (int waitedMs = 0; g_callsUnderWay != 0 && waitedMs < kPatienceMs; ++waitedMs)
        Sleep(1);
    // From the end of the count to the return there are some steps more.
    if (g_logger != nullptr)
        Sleep(1);
}

void FinishLogger()
{
    g_isFinished = true;
    if (Logger* const logger = g_logger)
        logger->Finish();
    if (IsUnloading())
        WaitForCallsUnderWay();
}

// Registers the end in the exit table when the library is loaded, before the program's own objects
// are made also where the library is linked into it, so that it comes behind their destructors.
struct ExitTableEntry {
    ExitTableEntry() { std::atexit(FinishLogger); }
};
[[gnu::init_priority(110)]] const ExitTableEntry g_exitTableEntry;

int FormatUnits(char* buffer, const char* format, va_list arguments)
{
    return _vsnprintf(buffer, kLongestMessage, format, arguments);
}

int FormatUnits(wchar_t* buffer, const wchar_t* format, va_list arguments)
{
    return _vsnwprintf(buffer, kLongestMessage, format, arguments);
}

void Write(Logger& logger, std::uint32_t level, const wchar_t* message, int length)
{
    logger.WriteLine(level, message, length);
}

void Write(Logger& logger, std::uint32_t level, const char* message, int length)
{
    // No code page has more characters than bytes in a text.
    wchar_t wide[kLongestMessage];
    const auto* const end = std::find(message, message + length, '\0');
    const int wideLength =
        message == end ? 0
                       : MultiByteToWideChar(CP_ACP, 0, message, static_cast<int>(end - message),
                                             wide, kLongestMessage);
    logger.WriteLine(level, wide, wideLength);
}

// The message is what CXelStringT::FormatV makes, and a narrow one becomes wide as a string does,
// but without the strings: a line costs little more than what the system takes for it.
template <class T> void TraceV(std::uint32_t level, const T* format, va_list arguments)
{
    static constexpr T kNothing[] = {0};
    const CallUnderWay underWay;
    Logger& logger = TheLogger();
    if (!detail::IsProduced(level))
        return;
    T message[kLongestMessage];
    int length = FormatUnits(message, format != nullptr ? format : kNothing, arguments);
    if (length < 0)
        length = static_cast<int>(std::find(message, std::end(message), T{0}) - message);
    Write(logger, level, message, length);
}

} // namespace

void XEL_TRACE_ALWAYS(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    TraceV(detail::kAlways, format, arguments);
    va_end(arguments);
}

void XEL_TRACE_ALWAYS(const wchar_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    TraceV(detail::kAlways, format, arguments);
    va_end(arguments);
}

void XEL_TRACE_DEBUG(const char* format, ...)
{
    if (!detail::IsProduced(detail::kDebug)) [[likely]]
        return;
    va_list arguments;
    va_start(arguments, format);
    TraceV(detail::kDebug, format, arguments);
    va_end(arguments);
}

void XEL_TRACE_DEBUG(const wchar_t* format, ...)
{
    if (!detail::IsProduced(detail::kDebug)) [[likely]]
        return;
    va_list arguments;
    va_start(arguments, format);
    TraceV(detail::kDebug, format, arguments);
    va_end(arguments);
}

void LOGMESSAGE(long level, const char* format, ...)
{
    const std::uint32_t mapped = detail::LevelOfMessage(level);
    if (!detail::IsProduced(mapped))
        return;
    va_list arguments;
    va_start(arguments, format);
    TraceV(mapped, format, arguments);
    va_end(arguments);
}

} // namespace xel_logging

// A program with a log, for the tests to copy, run and look at what it leaves behind. Its first
// argument says what it does.
#include <atomic>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "xelutils/logging/xel_logging.h"

using xel_logging::LOGMESSAGE;
using xel_logging::XEL_TRACE_ALWAYS;
using xel_logging::XEL_TRACE_DEBUG;
using NarrowString = xel_text::CXelStringT<char>;
using WideString = xel_text::CXelStringT<wchar_t>;

namespace {

// Traces at the end of the program if it was told to.
struct LastWords {
    const char* const words;
    bool isAsked = false;
    ~LastWords()
    {
        if (isAsked)
            XEL_TRACE_ALWAYS(words);
    }
};

// Made before everything else and so destroyed behind the end of the log.
[[gnu::init_priority(101)]] LastWords g_tooLate{"too late"};
LastWords g_staticObject{"static object"};

void AskForLastWords()
{
    static LastWords s_localStatic{"local static"};
    g_tooLate.isAsked = g_staticObject.isAsked = s_localStatic.isAsked = true;
}

enum class Count { Seven = 7 };

void TraceEveryKind()
{
    const NarrowString narrow("narrow");
    const WideString wide(L"wide");
    XEL_TRACE_ALWAYS("100%% plain");
    XEL_TRACE_ALWAYS("%d %s %S", 1, "a", L"b");
    XEL_TRACE_ALWAYS(L"%d %s %hs", 2, L"c", "d");
    XEL_TRACE_ALWAYS("%s|%S|%S|%d", narrow, wide, CString(L"framework"), Count::Seven);
    XEL_TRACE_ALWAYS(L"%S|%s|%s", narrow, wide, CString(L"framework"));
    XEL_TRACE_ALWAYS(NarrowString("format %s"), narrow);
    XEL_TRACE_ALWAYS(WideString(L"format %s"), wide);
    XEL_TRACE_ALWAYS("\x80 by the code page, %c|cut", 0);
    XEL_TRACE_ALWAYS(L"\xE9\xD83D\xDE00 \xD800 %c|not cut", 0);
    XEL_TRACE_ALWAYS("");
    XEL_TRACE_ALWAYS(static_cast<const char*>(nullptr));
}

void TraceEveryLevel()
{
    for (const long level : {0L, 1L, 2L, 3L, 4L, 5L, 6L, 7L, 100L, -1L, LONG_MIN, LONG_MAX})
        LOGMESSAGE(level, "level %d", static_cast<int>(level));
    LOGMESSAGE(0, "no argument");
    LOGMESSAGE(4, "no argument");
    XEL_TRACE_DEBUG("debug");
    XEL_TRACE_DEBUG("debug %d", 1);
    XEL_TRACE_DEBUG(L"debug");
    XEL_TRACE_DEBUG(L"debug %s", WideString(L"x"));
    XEL_TRACE_DEBUG(NarrowString("debug"));
    XEL_TRACE_DEBUG(WideString(L"debug"));
}

void TraceLongLines()
{
    for (const int length : {2047, 2048, 2049}) {
        XEL_TRACE_ALWAYS("%s", NarrowString('n', length));
        XEL_TRACE_ALWAYS(L"%s", WideString(L'w', length));
    }
    XEL_TRACE_ALWAYS("short");
}

// The threads come first all at once.
void TraceFromThreads(int linesOfEach)
{
    std::atomic<bool> start = false;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&start, thread, linesOfEach] {
            while (!start)
                std::this_thread::yield();
            for (int line = 0; line < linesOfEach; ++line) {
                XEL_TRACE_DEBUG("silent");
                XEL_TRACE_ALWAYS("thread %d line %d", thread, line);
            }
        });
    }
    start = true;
    for (std::thread& thread : threads)
        thread.join();
}

// A file that takes the number of a standard stream where that one is closed.
void TraceBesideOwnFile(const char* name)
{
    std::FILE* const file = std::fopen(name, "w");
    XEL_TRACE_ALWAYS("not for the file");
    std::fputs("mine", file);
    std::fclose(file);
}

} // namespace

int main(int, char** argv)
{
    const std::string what = argv[1];
    if (what == "kinds") {
        TraceEveryKind();
    } else if (what == "levels") {
        TraceEveryLevel();
    } else if (what == "debug") {
        XEL_TRACE_DEBUG("%d", 1);
    } else if (what == "long") {
        TraceLongLines();
    } else if (what == "threads") {
        TraceFromThreads(std::atoi(argv[2]));
    } else if (what == "line") {
        XEL_TRACE_ALWAYS("line");
    } else if (what == "wait") {
        XEL_TRACE_ALWAYS("before");
        std::this_thread::sleep_for(std::chrono::milliseconds(1030));
        XEL_TRACE_ALWAYS("behind");
    } else if (what == "until-input-ends") {
        XEL_TRACE_ALWAYS("begun");
        while (std::getchar() != EOF) {
        }
        XEL_TRACE_ALWAYS("ended");
    } else if (what == "static-objects") {
        XEL_TRACE_ALWAYS("main");
        AskForLastWords();
    } else if (what == "first-at-end") {
        AskForLastWords();
    } else if (what == "first-too-late") {
        g_tooLate.isAsked = true;
    } else if (what == "own-file") {
        TraceBesideOwnFile(argv[2]);
    }
    return 42;
}

// A program that opens the shared library as a second copy beside the one linked into it. Its
// first argument says what it does, the second is the library's file, the third the log of this
// program. Prints what went wrong; silence is success.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <future>
#include <iterator>
#include <string>
#include <string_view>
#include <thread>

#include "module/process_memory.h"
#include "module/trace_hold.h"
#include "xelutils/logging/xel_logging.h"
#include "xelutils/platform/framework.h"
#include "xelutils/system/library_funcs.h"
#include "xelutils/text/xel_utf.h"

namespace {

// Still there when the last object is destroyed.
constinit std::string_view g_mode;
constinit const char* g_log = nullptr;

bool EndsFinished(const char* log)
{
    std::ifstream file(log, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    std::string text;
    for (std::size_t i = 2; i < bytes.size(); i += 2)
        text += bytes[i];
    return text.find("; round") != text.npos && text.ends_with("; Logging finished\r\n");
}

// ---- The order of the ends ------------------------------------------------------------------

// What of the library is still there while this object is destroyed.
struct Witness {
    const char* const name;
    ~Witness()
    {
        if (g_mode == "order")
            std::printf("%s: %s, %s\n", name,
                        AfxGetModuleState()->m_libraryList != nullptr ? "record" : "no record",
                        EndsFinished(g_log) ? "log finished" : "log open");
    }
};
// Made between the raw entry hook and the log, between the log and the record, and when the library
// is ready.
[[gnu::init_priority(105)]] const Witness g_behindLog{"behind the log"};
[[gnu::init_priority(115)]] const Witness g_behindRecord{"behind the record"};
const Witness g_program{"the program's own"};

// ---- The second copy ------------------------------------------------------------------------

using Trace = void (*)(const char*, ...);

class Library {
public:
    explicit Library(const char* path) : m_module(LoadLibraryW(xel_text::FromUtf8(path)))
    {
        if (m_module == nullptr)
            Fail("cannot be loaded");
    }
    void Unload() { FreeLibrary(m_module); }

    template <class T> T Function(const wchar_t* name) const
    {
        const FARPROC function = GetProcAddressW(m_module, name);
        if (function == nullptr)
            Fail("lacks a function");
        return reinterpret_cast<T>(reinterpret_cast<void*>(function));
    }
    Trace Tracer() const { return Function<Trace>(L"_ZN11xel_logging16XEL_TRACE_ALWAYSEPKcz"); }

    [[noreturn]] static void Fail(const char* what)
    {
        std::printf("the library %s\n", what);
        std::exit(1);
    }

private:
    HMODULE m_module;
};

// Every tenth load has a log.
void LoadAndUnload(const char* path, const char* log, int loads)
{
    for (int i = 0; i < loads; ++i) {
        Library library(path);
        const bool isLogged = i % 10 == 0;
        if (isLogged)
            library.Tracer()("round %d", i);
        library.Unload();
        if (isLogged && !EndsFinished(log))
            Library::Fail("did not finish its log");
    }
}

void Grow(const char* path, const char* log)
{
    LoadAndUnload(path, log, 50);
    const ProcessMemory before = CurrentMemory();
    LoadAndUnload(path, log, 950);
    const ProcessMemory after = CurrentMemory();
    // 95 logs were written, each by a heap of its own.
    constexpr long long kHeapBytes = 95 * 0x400000LL;
    if (after.mappedBytes > before.mappedBytes + kHeapBytes)
        std::printf("mapped: %lld more\n", after.mappedBytes - before.mappedBytes - kHeapBytes);
    if (after.allocatedBytes > before.allocatedBytes)
        std::printf("allocated: %lld more\n", after.allocatedBytes - before.allocatedBytes);
}

// The heaps, the addresses and the registrations of the two copies.
void LookAtBoth(const char* path)
{
    Library library(path);
    const auto* const other = library.Function<const void* (*)()>(L"_Z20GetXelDllBaseAddressv")();
    if (other == GetXelDllBaseAddress())
        std::puts("one address");
    // A block of the one is unknown to the other, which ignores it.
    void* const block = dlmalloc(100);
    library.Function<void (*)(void*)>(L"dlfree")(block);
    if (dlmalloc(100) == block)
        std::puts("the other heap freed a block");
    library.Unload();
    if (AfxGetModuleState()->m_libraryList == nullptr)
        std::puts("the other copy released this one's record");
}

// ---- Unloading under a call -----------------------------------------------------------------

std::promise<void> g_isHeld;
std::promise<void> g_mayGoOn;

void StayUntilReleased()
{
    g_isHeld.set_value();
    g_mayGoOn.get_future().wait();
}

// A thread is held inside a trace, and let go while the library is being unloaded.
void UnloadUnderTrace(const char* path)
{
    Library library(path);
    const Trace trace = library.Tracer();
    trace("first");
    std::thread tracing([trace] {
        CallInsideNextTrace(StayUntilReleased);
        trace("held");
    });
    g_isHeld.get_future().wait();
    // A thread cannot begin while Windows unloads something.
    std::promise<void> hasBegun;
    std::atomic<bool> isReleased = false;
    std::thread releasing([&] {
        hasBegun.set_value();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        isReleased = true;
        g_mayGoOn.set_value();
    });
    hasBegun.get_future().wait();
    library.Unload();
    if (!isReleased)
        std::puts("unloaded under a call");
    tracing.join();
    releasing.join();
}

} // namespace

int main(int count, char** arguments)
{
    if (count < 4)
        return 2;
    g_mode = arguments[1];
    g_log = arguments[3];
    if (g_mode == "order")
        xel_logging::XEL_TRACE_ALWAYS("round");
    else if (g_mode == "grow")
        Grow(arguments[2], arguments[3]);
    else if (g_mode == "both")
        LookAtBoth(arguments[2]);
    else if (g_mode == "unload under trace")
        UnloadUnderTrace(arguments[2]);
}

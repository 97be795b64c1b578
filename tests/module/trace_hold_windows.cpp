// Showing a line to a debugger raises an exception, whether there is a debugger or not.
#include <windows.h>

#include <utility>

#include "module/trace_hold.h"

namespace {

constexpr DWORD kShownToDebugger = 0x40010006;
constexpr DWORD kWideShownToDebugger = 0x4001000A;

thread_local void (*t_hold)() = nullptr;

LONG NTAPI Hold(EXCEPTION_POINTERS* exception)
{
    const DWORD code = exception->ExceptionRecord->ExceptionCode;
    if (code == kShownToDebugger || code == kWideShownToDebugger) {
        if (auto* const hold = std::exchange(t_hold, nullptr))
            hold();
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

void CallInsideNextTrace(void (*hold)())
{
    [[maybe_unused]] static void* const s_handler = AddVectoredExceptionHandler(1, Hold);
    t_hold = hold;
}

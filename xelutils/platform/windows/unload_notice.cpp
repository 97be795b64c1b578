#include <windows.h>

#include "xelutils/platform/unload.h"

namespace {

bool IsProcessEnding()
{
    using Question = BOOLEAN(NTAPI*)();
    const HMODULE system = GetModuleHandleW(L"ntdll.dll");
    void* const address =
        reinterpret_cast<void*>(GetProcAddress(system, "RtlDllShutdownInProgress"));
    return address != nullptr && reinterpret_cast<Question>(address)() != FALSE;
}

// Called before the exit table of a library, and in a program when everything is over. A DllMain
// would be in the way of that of a library which this one is linked into.
void NTAPI NoteDetaching(PVOID, DWORD reason, PVOID)
{
    if (reason == DLL_PROCESS_DETACH && !IsProcessEnding())
        NoteUnloading();
}

// Where the loader looks for functions of this kind.
[[gnu::section(".CRT$XLF"), gnu::used]] const PIMAGE_TLS_CALLBACK g_detachingCallback =
    NoteDetaching;

} // namespace

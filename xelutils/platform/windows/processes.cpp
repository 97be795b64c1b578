#include <string>

#include "xelutils/platform/windows/device_calls.h"

#undef CreateProcessW

namespace device_calls {

BOOL StartProcess(const wchar_t* program, wchar_t* arguments, SECURITY_ATTRIBUTES* process,
                  SECURITY_ATTRIBUTES* thread, BOOL inherit, DWORD flags, void* environment,
                  wchar_t* folder, STARTUPINFOW* startup, PROCESS_INFORMATION* result)
{
    STARTUPINFOW wholeStartup = {};
    wholeStartup.cb = sizeof wholeStartup;
    if (startup->cb == sizeof wholeStartup)
        wholeStartup = *startup;
    std::wstring commandLine = L"\"" + std::wstring(program) + L"\" " + arguments;
    return ::CreateProcessW(program, commandLine.data(), process, thread, inherit, flags,
                            environment, folder, &wholeStartup, result);
}

} // namespace device_calls

#include "xelutils/system/library_funcs.h"

#include "xelutils/files/file_funcs.h"
#include "xelutils/logging/xel_logging.h"

using xel_text::CXelStringT;

namespace {

constexpr int kCommandLineChars = 260;
constexpr DWORD kDeviceStartupInfoBytes = 68;

// As many characters as the text has, the terminator among them: the last one is cut off, and
// callers count on that. The buffer holds zeros.
void CopyWithoutLast(wchar_t* buffer, const CXelStringT<wchar_t>& text)
{
    for (int i = 0; i < text.GetLength() - 1 && text[i] != 0; ++i)
        buffer[i] = text[i];
}

} // namespace

mandatory_error::XelErrorCode<bool> GetLibraryFunction(HINSTANCE* library, FARPROC* function,
                                                       const CXelStringT<wchar_t>& functionName,
                                                       const CXelStringT<wchar_t>& libraryName)
{
    using xel_logging::XEL_TRACE_ALWAYS;
    if (library == nullptr)
        return false;
    CXelStringT<wchar_t> path = GetExeDir() + L"\\" + libraryName;
    *library = LoadLibraryW(path);
    if (*library == nullptr) {
        XEL_TRACE_ALWAYS("Could not load library %S err code = %d", path, GetLastError());
        path = L"\\Windows\\" + libraryName;
        *library = LoadLibraryW(path);
    }
    if (*library == nullptr) {
        XEL_TRACE_ALWAYS("Could not load %S !", libraryName);
        return false;
    }
    if (function == nullptr)
        return true;
    *function = GetProcAddressW(*library, functionName);
    if (*function == nullptr) {
        XEL_TRACE_ALWAYS("Missing function '%S' in %S.", functionName, libraryName);
        // *library stays as it is: it tells callers that the library was there.
        FreeLibrary(*library);
        return false;
    }
    return true;
}

void FreeLibraryFunction(HINSTANCE& library)
{
    if (library == nullptr)
        return;
    FreeLibrary(library);
    library = nullptr;
}

bool LaunchExe(const CXelStringT<wchar_t>& program, const CXelStringT<wchar_t>& arguments,
               unsigned long& exitCode)
{
    if (arguments.GetLength() > kCommandLineChars)
        return false;
    PROCESS_INFORMATION process = {};
    STARTUPINFOW startup = {};
    startup.cb = kDeviceStartupInfoBytes;
    wchar_t commandLine[kCommandLineChars] = {};
    CopyWithoutLast(commandLine, arguments);
    if (!CreateProcessW(program, commandLine, nullptr, nullptr, FALSE, CREATE_NEW_CONSOLE, nullptr,
                        nullptr, &startup, &process))
        return false;
    // Both handles stay open where the child's end cannot be learned, as on the device.
    if (WaitForSingleObject(process.hProcess, INFINITE) != WAIT_OBJECT_0)
        return false;
    DWORD code = 0;
    if (!GetExitCodeProcess(process.hProcess, &code))
        return false;
    exitCode = code;
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code != STILL_ACTIVE;
}

// Calls that desktop Windows answers in another way than the device does, under the device's names
// for the sources of the library. What each promises stands at its declaration for other hosts.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <clocale>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cwchar>

namespace device_calls {

// ---- Memory -------------------------------------------------------------------------------

// Reservations without an address lie below 4 GiB, also in 64-bit programs.
void* Allocate(void* address, SIZE_T size, DWORD type, DWORD protect);

struct MemoryStatus {
    DWORD dwLength;
    DWORD dwMemoryLoad;
    DWORD dwTotalPhys;
    DWORD dwAvailPhys;
    DWORD dwTotalPageFile;
    DWORD dwAvailPageFile;
    DWORD dwTotalVirtual;
    DWORD dwAvailVirtual;
};
void GetMemoryStatus(MemoryStatus* status);

// ---- Files --------------------------------------------------------------------------------

// Four zero bytes follow the file's last one also where it ends at the end of a page.
HANDLE MapFile(HANDLE file, SECURITY_ATTRIBUTES* security, DWORD protect, DWORD sizeHigh,
               DWORD sizeLow, const wchar_t* name);

// A link to a folder goes itself, or stays; what it leads to is never removed in its place.
BOOL RemoveFolder(const wchar_t* path);

// ---- Text ---------------------------------------------------------------------------------
//
// The run-time's own functions heed the locale of the program; these have one of their own, with
// the system's code page and a decimal point.

int FormatNarrow(char* buffer, SIZE_T count, const char* format, va_list arguments);
int FormatWide(wchar_t* buffer, SIZE_T count, const wchar_t* format, va_list arguments);

// Characters by the system's code page, everything else as in the locale "C".
_locale_t DeviceLocale();

template <class... Outputs>
int ScanWide(const wchar_t* text, const wchar_t* format, Outputs*... outputs)
{
    return _swscanf_l(text, format, DeviceLocale(), outputs...);
}

int IsClass(int c, int mask);
int IsWideClass(wchar_t c, unsigned short mask);
wchar_t* UpperCase(wchar_t* text);
wchar_t* LowerCase(wchar_t* text);
int CompareNoCase(const wchar_t* first, const wchar_t* second);
// Bytes above 127 have no case and are the larger ones.
int CompareNoCase(const char* first, const char* second);

FILE* StandardStream(int number);

// Null is refused.
int ReallocSystemString(wchar_t** string, const wchar_t* text, UINT length);

// ---- Registry -----------------------------------------------------------------------------

// For reading, whatever access is asked for: the device looks at none.
LONG OpenKey(HKEY key, const wchar_t* subKey, DWORD options, DWORD access, HKEY* result);

// ---- Modules and processes ----------------------------------------------------------------

FARPROC FindFunction(HMODULE module, const wchar_t* name);

// The arguments do not begin with the program's own name, which desktop programs expect in front.
// `program` and `arguments` are not null. A startup record of the device's size counts as empty.
BOOL StartProcess(const wchar_t* program, wchar_t* arguments, SECURITY_ATTRIBUTES* process,
                  SECURITY_ATTRIBUTES* thread, BOOL inherit, DWORD flags, void* environment,
                  wchar_t* folder, STARTUPINFOW* startup, PROCESS_INFORMATION* result);

} // namespace device_calls

#define VirtualAlloc device_calls::Allocate
#define MEMORYSTATUS device_calls::MemoryStatus
#define GlobalMemoryStatus device_calls::GetMemoryStatus
#define CreateFileMappingW device_calls::MapFile
#define RemoveDirectoryW device_calls::RemoveFolder
#define _vsnprintf device_calls::FormatNarrow
#define _vsnwprintf device_calls::FormatWide
#define swscanf device_calls::ScanWide
#define _isctype device_calls::IsClass
#define iswctype device_calls::IsWideClass
#define _wcsupr device_calls::UpperCase
#define _wcslwr device_calls::LowerCase
#define _wcsicmp device_calls::CompareNoCase
#define _stricmp device_calls::CompareNoCase
#define _getstdfilex device_calls::StandardStream
#define RegOpenKeyExW device_calls::OpenKey
#define SysReAllocStringLen device_calls::ReallocSystemString
#define GetProcAddressW device_calls::FindFunction
#define CreateProcessW device_calls::StartProcess

#include <clocale>
#include <cstdio>
#include <cwchar>

#include "xelutils/platform/windows/device_calls.h"

#undef _vsnprintf
#undef _vsnwprintf
#undef swscanf
#undef _isctype
#undef iswctype
#undef _wcsupr
#undef _wcslwr
#undef _wcsicmp
#undef _stricmp
#undef SysReAllocStringLen
#undef GetProcAddressW

// In the run-time, but not in the headers or not in all of them.
extern "C" {
__declspec(dllimport) int _vsnprintf_l(char*, std::size_t, const char*, _locale_t, va_list);
}

namespace device_calls {

_locale_t DeviceLocale()
{
    static const _locale_t s_locale = _create_locale(LC_CTYPE, ".ACP");
    return s_locale;
}

int FormatNarrow(char* buffer, SIZE_T count, const char* format, va_list arguments)
{
    return _vsnprintf_l(buffer, count, format, DeviceLocale(), arguments);
}

int FormatWide(wchar_t* buffer, SIZE_T count, const wchar_t* format, va_list arguments)
{
    return _vsnwprintf_l(buffer, count, format, DeviceLocale(), arguments);
}

int IsClass(int c, int mask)
{
    const auto unit = static_cast<wchar_t>(c);
    WORD classes = 0;
    return GetStringTypeW(CT_CTYPE1, &unit, 1, &classes) ? classes & mask : 0;
}

int IsWideClass(wchar_t c, unsigned short mask)
{
    return IsClass(c, mask);
}

wchar_t* UpperCase(wchar_t* text)
{
    return _wcsupr_l(text, DeviceLocale());
}

wchar_t* LowerCase(wchar_t* text)
{
    return _wcslwr_l(text, DeviceLocale());
}

int CompareNoCase(const wchar_t* first, const wchar_t* second)
{
    return _wcsicmp_l(first, second, DeviceLocale());
}

int CompareNoCase(const char* first, const char* second)
{
    const auto lower = [](char c) {
        return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    };
    while (*first != 0 && lower(*first) == lower(*second)) {
        ++first;
        ++second;
    }
    return lower(*first) - lower(*second);
}

int ReallocSystemString(wchar_t** string, const wchar_t* text, UINT length)
{
    return string != nullptr && SysReAllocStringLen(string, text, length);
}

FILE* StandardStream(int number)
{
    return __acrt_iob_func(static_cast<unsigned>(number));
}

FARPROC FindFunction(HMODULE module, const wchar_t* name)
{
    if (IS_INTRESOURCE(name))
        return GetProcAddress(module, reinterpret_cast<const char*>(name));
    // Names of functions are plain; one that is longer than any, or not plain, is missing.
    char plain[512];
    BOOL isNotPlain = FALSE;
    if (WideCharToMultiByte(1252, 0, name, -1, plain, sizeof plain, nullptr, &isNotPlain) == 0 ||
        isNotPlain) {
        SetLastError(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
    return GetProcAddress(module, plain);
}

} // namespace device_calls

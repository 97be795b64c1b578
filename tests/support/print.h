// The formatters of both widths, as calls that pass their arguments through "...".
#pragma once

#include <cstdarg>
#include <cstddef>

#include "xelutils/platform/coredll.h"

inline int Print(char* buffer, std::size_t count, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = _vsnprintf(buffer, count, format, arguments);
    va_end(arguments);
    return result;
}

inline int Print(wchar_t* buffer, std::size_t count, const wchar_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = _vsnwprintf(buffer, count, format, arguments);
    va_end(arguments);
    return result;
}

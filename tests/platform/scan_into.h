// swscanf over addresses in an array.
#pragma once

#include <cstddef>

#include "xelutils/platform/coredll.h"

#if defined(_WIN32)

// The run-time cannot know how many addresses there are; more than it needs do no harm.
inline int ScanInto(const wchar_t* text, const wchar_t* format, void* const* outputs,
                    std::size_t count)
{
    static char spare[256];
    void* places[4] = {spare, spare, spare, spare};
    for (std::size_t i = 0; i < count && i < 4; ++i)
        places[i] = outputs[i];
    return swscanf(text, format, places[0], places[1], places[2], places[3]);
}

#else

inline int ScanInto(const wchar_t* text, const wchar_t* format, void* const* outputs,
                    std::size_t count)
{
    return scanning::Scan(text, format, outputs, count);
}

#endif

// The code page that stands for the system's.
#pragma once

#if defined(_WIN32)

// The system has its own, whatever a program says.
inline void NameSystemPage(const char*) {}

#else

#include <cstdlib>

// Before it is first asked for in the process.
inline void NameSystemPage(const char* page)
{
    setenv("XEL_ACP", page, 1);
}

#endif

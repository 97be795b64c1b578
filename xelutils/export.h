// How the library's names leave the shared library. Users need nothing from here. Linked from the
// static library they stay inside the module that they are linked into.
#pragma once

#if defined(XELUTILS_STATIC)
#define XELUTILS_API
#elif !defined(_WIN32)
#define XELUTILS_API __attribute__((visibility("default")))
#elif defined(XELUTILS_BUILDING)
#define XELUTILS_API __declspec(dllexport)
#else
#define XELUTILS_API __declspec(dllimport)
#endif

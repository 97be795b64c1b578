// How the library's names leave the shared library. Users need nothing from here.
#pragma once

#if defined(_WIN32) && !defined(XELUTILS_STATIC)
#if defined(XELUTILS_BUILDING)
#define XELUTILS_API __declspec(dllexport)
#else
#define XELUTILS_API __declspec(dllimport)
#endif
#else
#define XELUTILS_API __attribute__((visibility("default")))
#endif

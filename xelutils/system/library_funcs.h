// Optional libraries with one function of theirs, and other programs run to their end.
//
// Names are device paths or pieces of them. Nothing here throws or keeps what it was given.
#pragma once

#include <vector>

#include "xelutils/export.h"
#include "xelutils/mandatory_error.h"
#include "xelutils/memory/xel_dl_allocator.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/text/xel_string.h"

// ---- Libraries -----------------------------------------------------------------------------

// Loads `libraryName` from the program's folder (GetExeDir), else from "\Windows", and nowhere
// else, and finds a function in it. Mind the order of the names.
//
// library       receives the library, to be given back with FreeLibraryFunction; null when there
//               is none
// function      receives the function; null only loads the library
//
// Both folders are trusted, with the links in them: whoever may write there decides what the
// program runs. The name is appended as it is, with separators and ".." in it; do not take it from
// elsewhere. On a host without "\Windows" the second place is the folder of its own C library.
//
// What goes wrong is traced, also a library that is only in the second place. When the library
// has no such function the result is false and the library is freed, but *library is left as it
// was and must not be freed again: callers tell by it that the library itself was there.
XELUTILS_API mandatory_error::XelErrorCode<bool>
GetLibraryFunction(HINSTANCE* library, FARPROC* function,
                   const xel_text::CXelStringT<wchar_t>& functionName,
                   const xel_text::CXelStringT<wchar_t>& libraryName);

// Frees the library and sets it to null; null is harmless.
XELUTILS_API void FreeLibraryFunction(HINSTANCE& library);

// ---- Programs ------------------------------------------------------------------------------

// Starts `program`, waits for its end, however long that takes, and returns its exit code.
//
// The last character of the arguments is not passed on: callers end them with a blank.
//
//   program -a x    =>  the child is given "-a "        arguments "-a x ", and it gets "-a x"
//
// The child's own arguments are the words of what it is given; see CreateProcessW. More than 260
// characters are refused, and nothing is started. They end at the first zero character.
//
// False also for a child that exits with 259, the system's number for one that still runs. On
// POSIX an exit code has 8 bits, so that there this cannot happen; a child that a signal ended has
// 128 and the signal's number. There the result is false, after the child's end, when the host
// ignores SIGCHLD or collects its children itself. `exitCode` is left alone when the child could
// not be started or its end not be learned.
XELUTILS_API bool LaunchExe(const xel_text::CXelStringT<wchar_t>& program,
                            const xel_text::CXelStringT<wchar_t>& arguments,
                            unsigned long& exitCode);

// The text to give to LaunchExe so that the child gets exactly these arguments: quoted where that
// is needed, and with a blank at the end, which LaunchExe drops. No arguments give the empty text.
// Each argument ends at its first zero character.
//
//   -f, \My Files\   =>  -f "\My Files\\" and a blank
//   (empty), a"b     =>  "" "a\"b" and a blank
XELUTILS_API xel_text::CXelStringT<wchar_t> QuoteArguments(
    const std::vector<xel_text::CXelStringT<wchar_t>,
                      xel_mem::xel_dl_allocator<xel_text::CXelStringT<wchar_t>>>& arguments);

// ---- This library --------------------------------------------------------------------------

// An address in the library's own code (of this very function, not the start of its image), by
// which the module can be told from others.
XELUTILS_API const void* GetXelDllBaseAddress();

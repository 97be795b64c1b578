// System strings: counted wide text, as automation interfaces hand it around.
//
// A system string points at its first character; the four bytes in front of it hold the length in
// bytes. A terminator follows the text, which may hold zero characters. A null pointer stands for
// the empty string.
#pragma once

#include "xelutils/export.h"
#include "xelutils/platform/coredll.h"

#if defined(_WIN32)
#include <oleauto.h>
#else

using BSTR = wchar_t*;

// A new string of `length` characters; with a null `text` their content is undefined. The caller
// owns it and frees it with SysFreeString. Null when there is no memory or the length in bytes
// does not fit 31 bits.
XELUTILS_API BSTR SysAllocStringLen(const wchar_t* text, UINT length);

// Replaces *string by a new string of `length` characters of `text`, which may lie inside the old
// one; with a null `text` the old characters stay as far as they fit. TRUE; FALSE, with *string
// unchanged, when there is no memory or `string` is null.
XELUTILS_API int SysReAllocStringLen(BSTR* string, const wchar_t* text, UINT length);

// In characters; 0 for null.
XELUTILS_API UINT SysStringLen(BSTR string);

// Null is harmless.
XELUTILS_API void SysFreeString(BSTR string);

#endif

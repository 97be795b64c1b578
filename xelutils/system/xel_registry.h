// Reading the device's registry. Paths of keys have "\" between the names; names are compared
// without case. Nothing here throws or keeps a key open.
#pragma once

#include <vector>

#include "xelutils/export.h"
#include "xelutils/memory/xel_dl_allocator.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/text/xel_string.h"

namespace xel_registry {

using xel_text::CXelStringT;

using StringVector =
    std::vector<CXelStringT<wchar_t>, xel_mem::xel_dl_allocator<CXelStringT<wchar_t>>>;

// The names of the sub-keys, or of the values, of `subKey` below the open key `root`, in the
// registry's order; of `root` itself when `subKey` is null or empty. A key's default value is
// listed with an empty name. False, and no names, when there is no such key.
//
// A name of 256 units or more ends the list, and the result is true all the same, as after any
// other failure while listing: callers rely on having what came before.
XELUTILS_API bool EnumSections(HKEY root, const wchar_t* subKey, StringVector& names);
XELUTILS_API bool EnumEntries(HKEY root, const wchar_t* subKey, StringVector& names);

// The text of a value of the types REG_SZ and REG_EXPAND_SZ, up to its first zero character;
// references to the environment are not expanded. A null or empty `subKey` means `root` itself, a
// null or empty `valueName` the default value.
//
// False, and an empty text, when key or value is missing, or when the value became longer while it
// was read. False too for a value of another type, but then `value` holds its bytes, taken for
// characters, up to the first zero one, and callers rely on that: test the result.
//
//   "ab"                       =>  true,  ab
//   REG_MULTI_SZ of "ab" "c"   =>  false, ab
//   dword:00420041             =>  false, AB
XELUTILS_API bool ReadStringValue(HKEY root, const wchar_t* subKey, const wchar_t* valueName,
                                  CXelStringT<wchar_t>& value);

} // namespace xel_registry

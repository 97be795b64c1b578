// What a path names.
#pragma once

#include "xelutils/text/xel_string.h"

namespace FileFuncsEx {

bool IsSeparator(wchar_t unit);

// As which a link shows as a link on every platform; some follow it where a separator closes the
// path. Roots stay as they are: "\", "C:\" (which without it is another folder).
xel_text::CXelStringT<wchar_t> WithoutClosingSeparators(xel_text::CXelStringT<wchar_t> path);

// Whether anything has the name.
bool Exists(const wchar_t* path);

// As far as its text tells: whether nothing but a root, or the working directory or a folder above
// it, is left of a path when
// "." and ".." are resolved: it names no entry of a folder.
//
//   (empty)  \  \.  \a\..  \.host\a\..  .  a\..  ..\..  =>  true
//   \a  a  ..\a  \a\.host  \.host\a                     =>  false
bool NamesNoEntry(const wchar_t* path);

} // namespace FileFuncsEx

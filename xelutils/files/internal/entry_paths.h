// What a path names, as far as its text tells.
#pragma once

namespace FileFuncsEx {

bool IsSeparator(wchar_t unit);

// Whether nothing but a root, or the working directory or a folder above it, is left of a path when
// "." and ".." are resolved: it names no entry of a folder.
//
//   (empty)  \  \.  \a\..  \.host\a\..  .  a\..  ..\..  =>  true
//   \a  a  ..\a  \a\.host  \.host\a                     =>  false
bool NamesNoEntry(const wchar_t* path);

} // namespace FileFuncsEx

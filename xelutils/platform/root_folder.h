// What must never be taken for a folder among others.
#pragma once

// Whether `path` leads to the device's root, however it is spelt and by whatever links; on a host
// around the device also to the host's own root. True for null and the empty path, which are the
// root with a name appended. False when nothing is there.
//
//   (null)  (empty)  \  /  \.\  \a\..  ..\..  a link to the root  =>  true
//   \a  a folder of the same content                              =>  false
//
// May change the last error.
bool IsRootFolder(const wchar_t* path);

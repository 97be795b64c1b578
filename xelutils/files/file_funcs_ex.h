// Work on whole folders, names that files may have, paths shortened for a window, storage cards.
//
// Paths are device paths, terminated, folders without closing separator. Results of type `int` are
// true or false: not 0, or 0. Nothing here throws, tells why it failed, or keeps a pointer it was
// given. Null paths are harmless: they name nothing. Calls on unrelated paths may run on any
// threads.
//
// There is no way back: what was copied, made or removed before a failure stays so.
#pragma once

#include "xelutils/export.h"
#include "xelutils/formats/xel_array.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/text/xel_string.h"

namespace FileFuncsEx {

using xel_templ::CXelArray;
using xel_text::CXelStringT;

// ---- Single files --------------------------------------------------------------------------

// The size of a file in bytes: the low 32 bits in `size`, the high ones in `sizeHigh` unless it is
// null. Both hold 32 bits, also where long has 64.
//
// False when the file cannot be opened for reading, and when the low 32 bits are 0xFFFFFFFF, which
// is the platform's own sign of failure. The outputs then mean nothing.
XELUTILS_API bool GetPathSize(const wchar_t* path, unsigned long& size, unsigned long* sizeHigh);

// Copies a file. A target that exists is replaced, or, when `overwrite` is 0, left as it is, with
// 1 for a result.
XELUTILS_API int CopyFromTo(const wchar_t* from, const wchar_t* to, int overwrite);

// Copies a file when the target is missing or was written earlier than the source, to 100 ns.
//
//   `to` missing               =>  the result of the copy
//   `from` missing             =>  0
//   `from` written later       =>  the result of the copy
//   otherwise, nothing copied  =>  1, also when one of the times cannot be read
XELUTILS_API int CopyFromToCheckDate(const wchar_t* from, const wchar_t* to);

// 1 for "." and "..", else 0.
XELUTILS_API int IsDots(const wchar_t* name);

// ---- Folders and trees ---------------------------------------------------------------------
//
// Copying and removing trees take a link for itself, also one given as an argument: it is copied as
// a link, removed as a link, and what lies behind stays as it is. Links further up in an argument
// are followed. Trees may be of any depth.
//
// Each folder is looked at again after it was listed, so that a link that took its place meanwhile
// is not followed. What remains open is the time in which the files of one folder are handled:
// paths are resolved anew for each, and a link that takes the place of that folder or of one above
// it just then is followed. Nobody else should be able to rename folders in such trees.

// Copies what is in `from` into `to`, which is made when it is missing (its last level only).
// Files in the way are replaced.
//
// recursive  not 0: folders inside are copied with all they hold
//            0:     they are handed to the copying of files, which refuses them
//
// Only entries whose attributes are those of a folder and nothing else count as folders; others,
// such as a hidden one, are handed to the copying of files too. Callers rely on that.
//
// The first copy that fails ends it, with 0. An empty or missing `from` gives 1. 0 also where a
// link stands in the way of a folder, `to` itself included.
//
// What `from` holds is read before anything is made: `to` may lie in it. When `from` is a link, a
// copy of the link is all that is made, under the name `to`. Of names in one folder that differ in
// case only the copy has one, with what was copied last.
XELUTILS_API int CopyDirectory(const wchar_t* from, const wchar_t* to, int recursive);

// Removes a folder with all it holds, files that are read-only included. 1 when it is gone.
//
// 0 for a folder that is empty: it lists nothing, which counts as a failure, and it stays. Callers
// rely on that rule. So does, at its place, an empty folder further down: it ends the removal.
//
// 0 with nothing touched for a path that is null, empty or names no entry of a folder:
//
//   \  \.  \a\..  .  a\..  ..  \.host  =>  0
//
// Of a link to a folder the link goes, with 1; other links are files, for which it is 0.
XELUTILS_API int RemoveDirectoryTree(const wchar_t* dir);

// Creates every folder of the path that is missing, from the top; "\" and "/" both separate, and
// the path is taken as it is written.
//
//   \A/B\C  =>  \A, \A/B, \A/B\C
//
// The result says whether the whole path exists now, whatever stood there before.
XELUTILS_API int CreateDirectoryTree(const wchar_t* path);

// A set of bits: what a listing shall find.
enum EFindFolder {
    eFindFiles = 1,
    // All but "." and "..".
    eFindFolders = 2,
    eFindFilesAndFolders = 3,
};

// Puts the records of a folder's entries into `found`, in the order of the listing, in place of
// what it held. Empty when there are none or the folder cannot be listed. A link to a folder lists
// what lies behind it.
//
// mask  what names must end with, wildcards allowed: ".txt" finds every name that ends so. Null
//       finds all.
XELUTILS_API void FindAllFilesInFolder(CXelArray<WIN32_FIND_DATAW, WIN32_FIND_DATAW&>& found,
                                       EFindFolder what, const wchar_t* dir, const wchar_t* mask);

// The number of entries in a folder, files and folders alike, less one: the first entry is not
// counted, and callers rely on it.
//
//   three files      =>  2
//   one file, none   =>  0
XELUTILS_API unsigned long CountFiles(const CXelStringT<wchar_t>& dir);

// ---- Names and paths for people ------------------------------------------------------------

// False for the empty name and for one that holds any of  < > \ / " : ? * |
XELUTILS_API bool IsFileNameCorrect(const CXelStringT<wchar_t>& name);

// The name with each of these characters replaced: by `replacement`, or by "_" when it is one of
// them itself.
//
//   a:b, '-'      =>  a-b
//   a:b, '*'      =>  a_b
//   (empty), '*'  =>  *
//
// In place of an empty name stands the replacement alone, unchecked; callers rely on it.
XELUTILS_API const CXelStringT<wchar_t> CreateCorrectFileName(const CXelStringT<wchar_t>& name,
                                                              wchar_t replacement);

// Shortens a path until it fits 90 % of the window's client width, as the window draws it: folders
// in front shorter than 3 characters stay, the first longer one becomes "...", those behind it go
// one after the other. The last component is never touched, even when the result does not fit.
//
//   \Storage Card\Jobs\2024\file.txt  =>  \...\Jobs\2024\file.txt  or  \...\2024\file.txt
//                                         or  \...\file.txt
//   a first component without a separator in front, or an empty one, is where shortening ends
//
// Characters are UTF-16 units here: a surrogate pair has two.
//
// A separator at the end of a path of more than 3 characters is kept, except when nothing can be
// measured (no window or device context, no width): then the path is returned whole, but without
// it.
//
// Call it on the thread of the window.
XELUTILS_API CXelStringT<wchar_t> CompactPath(HWND window, const wchar_t* path, wchar_t separator);

// 1 when the path lies on a removable storage card: when the volume of its first folder has a
// serial number. 0 for everything else, failures included.
XELUTILS_API int IsPathOnFlashCard(const wchar_t* path);

} // namespace FileFuncsEx

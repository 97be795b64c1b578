// Where the program runs, path names cut into their pieces, and questions to the file system about
// one path.
//
// Paths are device paths: "\" separates, a leading one is the device's root. Results that name a
// folder never end in a separator: append "\" and a name to them. The root itself is so the empty
// text.
//
// Nothing here throws, tells why it failed, or keeps a pointer it was given. Null pointers are
// harmless: a null path is one that does not exist, a null output is left out. Every function may
// be called from any thread.
#pragma once

#include "xelutils/export.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/text/xel_string.h"

// ---- Well-known paths ----------------------------------------------------------------------
//
// Found out on the first call, the same ever after; several threads may come first. They still
// answer when destructors of static objects ask while the program ends.
//
//   program \Programs\app.exe   =>  \Programs\app.exe, and \Programs three times
//   program \app.exe            =>  \app.exe, and the empty text three times
//
// The three folders are one and the same on purpose: callers say which one they mean, so that a
// later version can move the root or the documents without changing them.

// The running program's full name, not that of this library. A name of 260 characters or more is
// cut as the platform cuts it.
XELUTILS_API xel_text::CXelStringT<wchar_t> GetApplicationPath();
// What stands before the last "\" of the program's name; empty when there is none.
XELUTILS_API xel_text::CXelStringT<wchar_t> GetExeDir();
XELUTILS_API xel_text::CXelStringT<wchar_t> GetRootDir();
XELUTILS_API xel_text::CXelStringT<wchar_t> GetDocsDir();

namespace FileFuncs {

using xel_text::CXelStringT;

// ---- Pieces of a path name -----------------------------------------------------------------
//
// A file name begins behind the last "\" or "/", an extension behind the last "." of the whole
// path: a dot in a folder's name counts when the file's has none. Callers rely on that as it is.
// Neither is looked for behind a zero character.

// Index of the file name's first character; 0 when there is no separator.
//
//   a/b\c  =>  4        name  =>  0        \dir\  =>  5
XELUTILS_API int GetFileNameStart(const CXelStringT<wchar_t>& path);

// Index of the last dot; the length when there is none.
//
//   \dir.d\file  =>  4        \dir\file  =>  9
XELUTILS_API int GetFileExtStart(const CXelStringT<wchar_t>& path);

//   \a\b.txt  =>  b.txt        \a\  =>  (empty)
XELUTILS_API CXelStringT<wchar_t>
ExtractFileNameWithExtFromPathName(const CXelStringT<wchar_t>& path);

// Without its dot.
//
//   \a\b.txt  =>  txt        \a\b.  =>  (empty)        \dir.d\file  =>  d\file
XELUTILS_API CXelStringT<wchar_t> ExtractFileNameExtFromPathName(const CXelStringT<wchar_t>& path);

//   \a\b.tar.gz  =>  b.tar        \dir.d\file  =>  (empty)
XELUTILS_API CXelStringT<wchar_t>
ExtractFileNameWithoutExtFromPathName(const CXelStringT<wchar_t>& path);

// The whole path less its last dot and what follows.
//
//   \a\b.txt  =>  \a\b        \dir.d\file  =>  \dir
XELUTILS_API CXelStringT<wchar_t>
ExtractPathNameWithoutExtFromPathName(const CXelStringT<wchar_t>& path);

//   \a\b.txt  =>  \a        \a\b\  =>  \a\b        \b.txt, b.txt  =>  (empty)
XELUTILS_API CXelStringT<wchar_t>
ExtractDirNameWithoutSlashFromPathName(const CXelStringT<wchar_t>& path);

// All pieces at once. `parentDirPath` is not the folder of the file but the one that holds this
// folder: callers get the folder's own name and, separately, where it lies.
//
//   \Storage\Jobs\a.txt  =>  true,  a.txt  a  txt  Jobs  \Storage
//   \Jobs\a              =>  false, a      a  (empty)  Jobs  (empty)
//
// True when the extension is not empty. Any of the outputs may be `path` itself.
XELUTILS_API bool ExtractFileNameAndExtAndParentDirFromPathName(
    const CXelStringT<wchar_t>& path, CXelStringT<wchar_t>& nameWithExt,
    CXelStringT<wchar_t>& nameWithoutExt, CXelStringT<wchar_t>& ext,
    CXelStringT<wchar_t>& parentDirName, CXelStringT<wchar_t>& parentDirPath);

// ---- Files and folders ---------------------------------------------------------------------

// Whether a file or a folder has the name, or matches its wildcards. False for the empty path.
XELUTILS_API bool IsFileExist(const CXelStringT<wchar_t>& path);

// Of several matches of a wildcard the first one listed decides.
XELUTILS_API bool IsDirExist(const CXelStringT<wchar_t>& path);

// Creates the folder and those above it that are missing. Only "\" separates; one at the end is
// ignored. True also when the folder exists already.
//
//   only \A is there; \A\B\C\   =>  true, \A\B and \A\B\C are made
//   \A\B is a file; \A\B\C      =>  false
//   "" or \                     =>  false: the root has no name to be found by
//
// What was made before a failure stays.
XELUTILS_API bool CreateDir(const CXelStringT<wchar_t>& path);

// Searches `dir` and all folders below it, depth first in the order of the listings, for a file
// of this name in any case.
//
//   \A\readme.TXT; \A, README.txt   =>  true, \A\README.txt: the name is the caller's, not the
//                                       listed one
//   \A\B\x and, listed later, \A\x  =>  \A\B\x
//   \A\.git\x                       =>  false: folders whose names begin with a dot are left out
//   nothing                         =>  false, `found` unchanged
//
// dir    without closing separator; empty for the device's root
// found  receives the full path
//
// Links are files here, found by their names and never followed; a `dir` that is a link itself is
// not searched. Any depth will do, there is no recursion.
//
// The listing that held the match is left open, as callers know it from the device. Where listings
// are read whole that is no open file of the system but memory, about as much as the names in the
// one folder, for every search that succeeds and until the program ends: look a file up once.
XELUTILS_API bool FindFileInDirTree(const wchar_t* dir, const wchar_t* name,
                                    CXelStringT<wchar_t>& found);

// ---- File times ----------------------------------------------------------------------------
//
// A FILETIME counts steps of 100 ns since 1 January 1601, UTC. As text it is in local time: the
// date as month/day/year, the time as hour (00 to 23) and minute, without seconds.
//
//   5 March 2024, 14:07:59 local time   =>  03/05/2024  14:07

// False, with the outputs unchanged, when the file cannot be opened for reading. Folders cannot.
XELUTILS_API bool xelGetFileTimes(const wchar_t* path, FILETIME* creation, FILETIME* lastAccess,
                                  FILETIME* lastWrite);

// False, with the outputs unchanged, for a time that is none: before 1601 in local time, or with
// its highest bit set.
XELUTILS_API bool ConvertAndFormatFileTime(FILETIME& time, CXelStringT<wchar_t>* date,
                                           CXelStringT<wchar_t>* clock);

// Formats each time that is given into its pair of texts. The times come in the order of the
// system's call (creation, last access, last write), the texts in the order creation (c), last
// write (w), last access (a). The crossing is intended; callers rely on it.
//
// Nothing happens when `cDate` is null. Always true; the pair of a time that is none is unchanged.
XELUTILS_API bool xelGetFileTimeFormatted(FILETIME* creation, FILETIME* lastAccess,
                                          FILETIME* lastWrite, CXelStringT<wchar_t>* cDate,
                                          CXelStringT<wchar_t>* cTime, CXelStringT<wchar_t>* wDate,
                                          CXelStringT<wchar_t>* wTime, CXelStringT<wchar_t>* aDate,
                                          CXelStringT<wchar_t>* aTime);

// The same for the times of a file. Also true for a file that is missing or cannot be read, whose
// texts are then those of the time 0 (01/01/1601 00:00 UTC; unchanged west of Greenwich, where
// that is no time): callers ask first whether the file exists.
XELUTILS_API bool xelGetFileTimeFormatted(const wchar_t* path, CXelStringT<wchar_t>* cDate,
                                          CXelStringT<wchar_t>* cTime, CXelStringT<wchar_t>* wDate,
                                          CXelStringT<wchar_t>* wTime, CXelStringT<wchar_t>* aDate,
                                          CXelStringT<wchar_t>* aTime);

// Now, in UTC, to the millisecond.
XELUTILS_API void xelGetSystemTimeAsFileTime(FILETIME& out);

} // namespace FileFuncs

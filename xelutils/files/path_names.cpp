#include <algorithm>

#include "xelutils/files/file_funcs.h"

namespace FileFuncs {

int GetFileNameStart(const CXelStringT<wchar_t>& path)
{
    return std::max(path.ReverseFind('\\'), path.ReverseFind('/')) + 1;
}

int GetFileExtStart(const CXelStringT<wchar_t>& path)
{
    const int dot = path.ReverseFind('.');
    return dot < 0 ? path.GetLength() : dot;
}

CXelStringT<wchar_t> ExtractFileNameWithExtFromPathName(const CXelStringT<wchar_t>& path)
{
    return path.Mid(GetFileNameStart(path));
}

CXelStringT<wchar_t> ExtractFileNameExtFromPathName(const CXelStringT<wchar_t>& path)
{
    return path.Right(path.GetLength() - GetFileExtStart(path) - 1);
}

CXelStringT<wchar_t> ExtractFileNameWithoutExtFromPathName(const CXelStringT<wchar_t>& path)
{
    // Negative, and so taken for 0, when the only dot is in a folder's name.
    const int nameStart = GetFileNameStart(path);
    return path.Mid(nameStart, GetFileExtStart(path) - nameStart);
}

CXelStringT<wchar_t> ExtractPathNameWithoutExtFromPathName(const CXelStringT<wchar_t>& path)
{
    return path.Left(GetFileExtStart(path));
}

CXelStringT<wchar_t> ExtractDirNameWithoutSlashFromPathName(const CXelStringT<wchar_t>& path)
{
    return path.Left(GetFileNameStart(path) - 1);
}

bool ExtractFileNameAndExtAndParentDirFromPathName(const CXelStringT<wchar_t>& path,
                                                   CXelStringT<wchar_t>& nameWithExt,
                                                   CXelStringT<wchar_t>& nameWithoutExt,
                                                   CXelStringT<wchar_t>& ext,
                                                   CXelStringT<wchar_t>& parentDirName,
                                                   CXelStringT<wchar_t>& parentDirPath)
{
    // The path may be one of the outputs.
    const CXelStringT<wchar_t> source = path;
    nameWithExt = ExtractFileNameWithExtFromPathName(source);
    nameWithoutExt = ExtractFileNameWithoutExtFromPathName(source);
    ext = ExtractFileNameExtFromPathName(source);
    const bool hasExt = !ext.IsEmpty();

    const CXelStringT<wchar_t> folder = ExtractDirNameWithoutSlashFromPathName(source);
    parentDirName = ExtractFileNameWithExtFromPathName(folder);
    // One level higher on purpose: the folder's own name has just been given.
    parentDirPath = ExtractDirNameWithoutSlashFromPathName(folder);
    return hasExt;
}

} // namespace FileFuncs

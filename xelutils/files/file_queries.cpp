#include "xelutils/files/file_funcs.h"
#include "xelutils/formats/xel_array.h"

namespace FileFuncs {

bool IsFileExist(const CXelStringT<wchar_t>& path)
{
    if (path.IsEmpty())
        return false;
    WIN32_FIND_DATAW entry;
    const HANDLE listing = FindFirstFileW(path, &entry);
    if (listing == INVALID_HANDLE_VALUE)
        return false;
    FindClose(listing);
    return true;
}

bool IsDirExist(const CXelStringT<wchar_t>& path)
{
    WIN32_FIND_DATAW entry;
    const HANDLE listing = FindFirstFileW(path, &entry);
    FindClose(listing); // harmless on the invalid handle
    return listing != INVALID_HANDLE_VALUE &&
           (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

namespace {

using Tails = xel_templ::CXelArray<CXelStringT<wchar_t>, const CXelStringT<wchar_t>&>;

// Cuts the path back to the deepest folder that exists or can be made. What was cut off goes to
// `tails`, the last component first. False when no such folder is left.
bool CutToFirstFolder(CXelStringT<wchar_t>& path, Tails& tails)
{
    while (!IsDirExist(path) && !CreateDirectoryW(path, nullptr)) {
        const int lastSeparator = path.ReverseFind('\\');
        if (lastSeparator < 0)
            return false;
        tails.push_back(path.Mid(lastSeparator));
        path = path.Left(lastSeparator);
    }
    return true;
}

} // namespace

bool CreateDir(const CXelStringT<wchar_t>& path)
{
    CXelStringT<wchar_t> folder = path;
    if (folder.GetAt(folder.GetLength() - 1) == '\\')
        folder.Delete(folder.GetLength() - 1);

    Tails tails;
    if (!CutToFirstFolder(folder, tails))
        return false;
    for (std::size_t i = tails.size(); i-- > 0;) {
        if (IsDirExist(folder))
            folder += tails[i];
        if (!CreateDirectoryW(folder, nullptr))
            return false;
    }
    return true;
}

} // namespace FileFuncs

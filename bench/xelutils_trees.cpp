#include "trees.h"

#include "xelutils/files/file_funcs.h"
#include "xelutils/files/file_funcs_ex.h"
#include "xelutils/text/xel_utf.h"

namespace bench {

namespace {

using String = xel_text::CXelStringT<wchar_t>;
using Records = xel_templ::CXelArray<WIN32_FIND_DATAW, WIN32_FIND_DATAW&>;

bool Copy(const std::string& from, const std::string& to)
{
    return FileFuncsEx::CopyDirectory(xel_text::FromUtf8(from), xel_text::FromUtf8(to), 1) != 0;
}

bool Remove(const std::string& dir)
{
    return FileFuncsEx::RemoveDirectoryTree(xel_text::FromUtf8(dir)) != 0;
}

// Of a tree with files at its second level only: each folder is listed once.
std::size_t Count(const std::string& dir)
{
    const String top = xel_text::FromUtf8(dir);
    Records folders;
    FileFuncsEx::FindAllFilesInFolder(folders, FileFuncsEx::eFindFolders, top, nullptr);
    std::size_t count = 0;
    // The first entry is not counted.
    for (const WIN32_FIND_DATAW& folder : folders)
        count += FileFuncsEx::CountFiles(top + L"\\" + folder.cFileName) + 1;
    return count;
}

bool Miss(const std::string& dir)
{
    String found;
    return !FileFuncs::FindFileInDirTree(xel_text::FromUtf8(dir), xel_text::FromUtf8(kMissingFile),
                                         found);
}

} // namespace

TreeProgram XelutilsTrees()
{
    return {"xelutils", Copy, Remove, Count, Miss};
}

} // namespace bench

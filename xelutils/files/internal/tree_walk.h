// The way through a tree of folders, entry by entry.
#pragma once

#include "xelutils/formats/xel_array.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/text/xel_string.h"

namespace FileFuncsEx {

using xel_text::CXelStringT;

inline bool IsLink(DWORD attributes)
{
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// Stands at a path: first at the folder it was made for, then at the entries of the folders that
// it enters. What lies between stands in an array and not on the stack: a tree may be of any depth.
class CTreeWalk {
public:
    explicit CTreeWalk(const wchar_t* top) : m_path(top) {}
    ~CTreeWalk();
    CTreeWalk(const CTreeWalk&) = delete;
    CTreeWalk& operator=(const CTreeWalk&) = delete;

    enum class EEntered {
        eFirstEntry,
        // Empty, missing, no folder or not to be listed. The walk stands where it was.
        eNothing,
        // A link, which is not followed. The walk stands where it was.
        eLink,
    };

    // Goes to the first entry of the folder at which the walk stands.
    EEntered Enter();

    // Goes to the next entry. False after the last one: the walk stands at the folder again.
    bool Next();

    bool IsInside() const { return !m_levels.empty(); }
    const CXelStringT<wchar_t>& Path() const { return m_path; }
    // Of the entry at which the walk stands; not valid any more when it could not be entered.
    const WIN32_FIND_DATAW& Entry() const { return m_entry; }
    // The folder that holds it.
    CXelStringT<wchar_t> Folder() const { return m_path.Left(m_levels.end()[-1].folderLength); }

private:
    struct Level {
        HANDLE listing;
        int folderLength;
    };

    void AppendName();

    CXelStringT<wchar_t> m_path;
    WIN32_FIND_DATAW m_entry = {};
    xel_templ::CXelArray<Level, const Level&> m_levels;
};

} // namespace FileFuncsEx

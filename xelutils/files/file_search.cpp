#include "xelutils/files/file_funcs.h"
#include "xelutils/files/internal/entry_paths.h"
#include "xelutils/files/internal/tree_walk.h"
#include "xelutils/formats/xel_array.h"

namespace FileFuncs {

namespace {

// A link to a folder is no folder to walk into: what lies behind it belongs to somewhere else.
bool IsFolderToSearch(DWORD attributes)
{
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

// A walk through a tree with the listings of all folders from the first one down to the present
// one open. They stand in an array, not on the stack, so that a deep tree is as good as any.
class TreeSearch {
public:
    TreeSearch(const wchar_t* folder, const wchar_t* name) : m_folder(folder), m_name(name) {}
    ~TreeSearch()
    {
        for (const Level& level : m_levels)
            FindClose(level.listing);
    }
    TreeSearch(const TreeSearch&) = delete;
    TreeSearch& operator=(const TreeSearch&) = delete;

    bool Run(CXelStringT<wchar_t>& found)
    {
        if (FileFuncsEx::IsLink(
                GetFileAttributesW(FileFuncsEx::WithoutClosingSeparators(m_folder))))
            return false;
        bool hasEntry = Enter();
        while (!m_levels.empty()) {
            if (!hasEntry) {
                Leave();
            } else if (IsFolderToSearch(m_entry.dwFileAttributes)) {
                if (m_entry.cFileName[0] != '.' && EnterEntry())
                    continue;
            } else if (_wcsicmp(m_entry.cFileName, m_name) == 0) {
                KeepListingOpen();
                found = m_folder + L"\\" + m_name;
                return true;
            }
            hasEntry = !m_levels.empty() && FindNextFileW(m_levels.end()[-1].listing, &m_entry);
        }
        return false;
    }

private:
    struct Level {
        HANDLE listing;
        // Of the name of the folder above; what m_folder is cut to when this one is left.
        int outerLength;
    };

    // Opens the listing of m_folder and reads its first entry.
    bool Enter(int outerLength = 0)
    {
        const HANDLE listing = FindFirstFileW(m_folder + L"\\*.*", &m_entry);
        if (listing == INVALID_HANDLE_VALUE)
            return false;
        m_levels.push_back({listing, outerLength});
        return true;
    }

    // False, with everything as before, for a folder that is empty or cannot be listed.
    bool EnterEntry()
    {
        const int outerLength = m_folder.GetLength();
        m_folder += L"\\";
        m_folder += m_entry.cFileName;
        if (Enter(outerLength))
            return true;
        m_folder.Truncate(outerLength);
        return false;
    }

    void Leave()
    {
        const Level level = m_levels.end()[-1];
        FindClose(level.listing);
        DropLevel();
        m_folder.Truncate(level.outerLength);
    }

    // Callers rely on the listing that held the match to stay open.
    void KeepListingOpen() { DropLevel(); }

    void DropLevel() { m_levels.erase(m_levels.end() - 1, m_levels.end()); }

    CXelStringT<wchar_t> m_folder;
    const wchar_t* const m_name;
    WIN32_FIND_DATAW m_entry = {};
    xel_templ::CXelArray<Level, const Level&> m_levels;
};

} // namespace

bool FindFileInDirTree(const wchar_t* dir, const wchar_t* name, CXelStringT<wchar_t>& found)
{
    return dir != nullptr && name != nullptr && TreeSearch(dir, name).Run(found);
}

} // namespace FileFuncs

#include "xelutils/files/file_funcs_ex.h"
#include "xelutils/files/internal/entry_paths.h"
#include "xelutils/files/internal/tree_walk.h"
#include "xelutils/platform/folder_pin.h"
#include "xelutils/platform/root_folder.h"

namespace FileFuncsEx {

namespace {

// ---- Removing -------------------------------------------------------------------------------

// False when the read-only mark cannot be taken off. Whether the file went is not asked: the folder
// that it is in cannot be removed if not.
bool RemoveFile(const wchar_t* path, DWORD attributes)
{
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0 &&
        !SetFileAttributesW(path, attributes & ~FILE_ATTRIBUTE_READONLY))
        return false;
    DeleteFileW(path);
    return true;
}

// A link to a folder; other links count as the files that they are. Platforms differ in which call
// removes it; neither acts on what lies behind.
bool RemoveFolderLink(const wchar_t* path)
{
    const DWORD attributes = GetFileAttributesW(path);
    return IsLink(attributes) && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
           (DeleteFileW(path) || RemoveDirectoryW(path));
}

class TreeRemoval {
public:
    explicit TreeRemoval(const wchar_t* dir) : m_pin(dir), m_walk(dir) {}

    // A failure anywhere ends it: what holds an entry that stays cannot go either.
    bool Run()
    {
        if (!EnterOrRemoveLink())
            return false;
        while (m_walk.IsInside()) {
            const DWORD attributes = m_walk.Entry().dwFileAttributes;
            if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
                if (!RemoveFile(m_walk.Path(), attributes))
                    return false;
            } else if (!IsDots(m_walk.Entry().cFileName)) {
                if (!EnterOrRemoveLink())
                    return false;
                if (m_hasEntered)
                    continue;
            }
            if (!GoOn())
                return false;
        }
        return true;
    }

private:
    // A folder without entries counts as a failure; callers rely on it.
    bool EnterOrRemoveLink()
    {
        const CTreeWalk::EEntered entered = m_walk.Enter();
        m_hasEntered = entered == CTreeWalk::EEntered::eFirstEntry;
        return m_hasEntered ||
               (entered == CTreeWalk::EEntered::eLink && RemoveFolderLink(m_walk.Path()));
    }

    // To the next entry; removes the folders that have none left.
    bool GoOn()
    {
        while (m_walk.IsInside() && !m_walk.Next()) {
            if (!RemoveDirectoryW(m_walk.Path()))
                return false;
            // It may have taken long enough for a link to take the place of the folder above.
            if (m_walk.IsInside() && IsLink(GetFileAttributesW(m_walk.Folder())))
                return false;
        }
        return true;
    }

    // What is removed is what was named, also when others remove it at the same time.
    const FolderPin m_pin;
    CTreeWalk m_walk;
    bool m_hasEntered = false;
};

// ---- Creating -------------------------------------------------------------------------------

using Lengths = CXelArray<int, const int&>;

// Of the whole path and of all that stands before a separator but the first character, the
// longest first.
Lengths LengthsOfLevels(const CXelStringT<wchar_t>& path)
{
    Lengths lengths;
    lengths.push_back(path.GetLength());
    for (int i = path.GetLength() - 1; i >= 1; --i) {
        if (IsSeparator(path[i]))
            lengths.push_back(i);
    }
    return lengths;
}

} // namespace

int RemoveDirectoryTree(const wchar_t* dir)
{
    if (dir == nullptr || NamesNoEntry(dir) || IsRootFolder(dir))
        return 0;
    return TreeRemoval(dir).Run() ? 1 : 0;
}

int CreateDirectoryTree(const wchar_t* path)
{
    if (path == nullptr)
        return 0;
    const CXelStringT<wchar_t> whole(path);
    const Lengths lengths = LengthsOfLevels(whole);
    for (std::size_t i = lengths.size(); i-- > 0;) {
        const CXelStringT<wchar_t> level = whole.Left(lengths[i]);
        if (!Exists(level) && !CreateDirectoryW(level, nullptr))
            break;
    }
    return Exists(path) ? 1 : 0;
}

} // namespace FileFuncsEx

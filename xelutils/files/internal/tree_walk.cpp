#include "xelutils/files/internal/tree_walk.h"

#include "xelutils/files/internal/entry_paths.h"

namespace FileFuncsEx {

CTreeWalk::~CTreeWalk()
{
    for (const Level& level : m_levels)
        FindClose(level.listing);
}

CTreeWalk::EEntered CTreeWalk::Enter()
{
    const int folderLength = m_path.GetLength();
    m_path += L"\\*.*";
    const HANDLE listing = FindFirstFileW(m_path, &m_entry);
    m_path.Truncate(folderLength);

    // Asked after the listing, not before: what was listed is only used when it still is no link.
    const bool isLink = IsLink(GetFileAttributesW(WithoutClosingSeparators(m_path)));
    if (isLink || listing == INVALID_HANDLE_VALUE) {
        FindClose(listing); // harmless on the invalid handle
        return isLink ? EEntered::eLink : EEntered::eNothing;
    }
    m_levels.push_back({listing, folderLength});
    AppendName();
    return EEntered::eFirstEntry;
}

bool CTreeWalk::Next()
{
    const Level level = m_levels.end()[-1];
    m_path.Truncate(level.folderLength);
    if (!FindNextFileW(level.listing, &m_entry)) {
        FindClose(level.listing);
        m_levels.erase(m_levels.end() - 1, m_levels.end());
        return false;
    }
    AppendName();
    return true;
}

void CTreeWalk::AppendName()
{
    m_path += L"\\";
    m_path += m_entry.cFileName;
}

} // namespace FileFuncsEx

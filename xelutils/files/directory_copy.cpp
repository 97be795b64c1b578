#include "xelutils/files/file_funcs_ex.h"
#include "xelutils/files/internal/entry_paths.h"
#include "xelutils/files/internal/tree_walk.h"

namespace FileFuncsEx {

namespace {

struct Step {
    enum EKind {
        eCopy,
        eEnterFolder,
        eLeaveFolder,
    };
    EKind kind;
    CXelStringT<wchar_t> name;
};
using Steps = CXelArray<Step, const Step&>;

// Exactly this attribute: callers rely on other folders, a hidden one for example, to be handed to
// the copying of files.
bool IsPlainFolder(const WIN32_FIND_DATAW& entry)
{
    return entry.dwFileAttributes == FILE_ATTRIBUTE_DIRECTORY;
}

// Adds the step for the entry at which the walk stands. True when the walk has entered it.
bool AddEntry(Steps& steps, CTreeWalk& walk, bool recursive)
{
    const CXelStringT<wchar_t> name = walk.Entry().cFileName;
    if (!recursive || !IsPlainFolder(walk.Entry())) {
        steps.push_back({Step::eCopy, name});
        return false;
    }
    if (IsDots(name))
        return false;
    const CTreeWalk::EEntered entered = walk.Enter();
    if (entered == CTreeWalk::EEntered::eLink) {
        steps.push_back({Step::eCopy, name});
        return false;
    }
    steps.push_back({Step::eEnterFolder, name});
    if (entered == CTreeWalk::EEntered::eFirstEntry)
        return true;
    steps.push_back({Step::eLeaveFolder, nullptr});
    return false;
}

// All that is to be done for the folder that the walk has entered.
Steps StepsOf(CTreeWalk& walk, bool recursive)
{
    Steps steps;
    while (walk.IsInside()) {
        if (AddEntry(steps, walk, recursive))
            continue;
        while (walk.IsInside() && !walk.Next())
            steps.push_back({Step::eLeaveFolder, nullptr});
    }
    return steps;
}

class Paths {
public:
    Paths(const wchar_t* from, const wchar_t* to) : m_from(from), m_to(to) {}

    const CXelStringT<wchar_t>& From() const { return m_from; }
    const CXelStringT<wchar_t>& To() const { return m_to; }

    void Append(const CXelStringT<wchar_t>& name)
    {
        for (CXelStringT<wchar_t>* const path : {&m_from, &m_to}) {
            *path += L"\\";
            *path += name;
        }
    }

    void CutLastName()
    {
        for (CXelStringT<wchar_t>* const path : {&m_from, &m_to})
            path->Truncate(path->ReverseFind('\\'));
    }

private:
    CXelStringT<wchar_t> m_from;
    CXelStringT<wchar_t> m_to;
};

// False where a link stands in the way. Whether a missing folder could be made is not asked: the
// first copy into it will tell.
bool MakeTarget(const wchar_t* folder)
{
    WIN32_FIND_DATAW entry;
    const HANDLE listing = FindFirstFileW(WithoutClosingSeparators(folder), &entry);
    if (listing == INVALID_HANDLE_VALUE) {
        CreateDirectoryW(folder, nullptr);
        return true;
    }
    FindClose(listing);
    return !IsLink(entry.dwFileAttributes);
}

bool Perform(const Step& step, Paths& paths)
{
    if (step.kind == Step::eLeaveFolder) {
        paths.CutLastName();
        return true;
    }
    paths.Append(step.name);
    if (step.kind == Step::eEnterFolder)
        return MakeTarget(paths.To());
    const bool isCopied = CopyFileW(paths.From(), paths.To(), FALSE) != FALSE;
    paths.CutLastName();
    return isCopied;
}

} // namespace

int CopyDirectory(const wchar_t* from, const wchar_t* to, int recursive)
{
    if (from == nullptr || to == nullptr)
        return 0;
    // The source is read whole before the target is touched. A target inside it would otherwise be
    // copied into itself without end; and paths do not tell where it lies, since links may lead
    // there.
    Steps steps;
    CTreeWalk walk(from);
    switch (walk.Enter()) {
    case CTreeWalk::EEntered::eLink:
        return CopyFileW(from, to, FALSE);
    case CTreeWalk::EEntered::eFirstEntry:
        steps = StepsOf(walk, recursive != 0);
        break;
    case CTreeWalk::EEntered::eNothing:
        break;
    }
    if (!MakeTarget(to))
        return 0;
    Paths paths(from, to);
    for (const Step& step : steps) {
        if (!Perform(step, paths))
            return 0;
    }
    return 1;
}

} // namespace FileFuncsEx

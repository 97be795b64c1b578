#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>

#include "xelutils/platform/posix/entries.h"
#include "xelutils/platform/posix/errors.h"

DWORD GetFileAttributesW(const wchar_t* name)
{
    std::optional<HostEntry> entry = FindEntry(name);
    return entry ? AnswerForOwnName(*entry) : INVALID_FILE_ATTRIBUTES;
}

BOOL SetFileAttributesW(const wchar_t* name, DWORD attributes)
{
    constexpr unsigned kPermissions = 07777;
    constexpr unsigned kEverybodyWrites = S_IWUSR | S_IWGRP | S_IWOTH;
    const std::optional<HostEntry> entry = FindEntry(name);
    if (!entry)
        return FALSE;
    const bool readOnly = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (entry->IsFolder() || readOnly == IsReadOnly(entry->status))
        return TRUE;
    if (entry->IsLink())
        return Fail(ERROR_ACCESS_DENIED);
    const unsigned mode = entry->status.stx_mode & kPermissions;
    const unsigned changed = readOnly ? mode & ~kEverybodyWrites : mode | S_IWUSR;
    // Should a link have taken the file's place meanwhile, this fails and leaves its target alone.
    if (fchmodat(AT_FDCWD, entry->name.c_str(), changed, AT_SYMLINK_NOFOLLOW) == 0)
        return TRUE;
    return errno == EOPNOTSUPP ? Fail(ERROR_ACCESS_DENIED) : FailFromErrno(errno);
}

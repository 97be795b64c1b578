#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/stat.h>

#include "xelutils/platform/posix/entries.h"
#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/posix/files.h"

namespace {

// Of the entry itself: should a link have taken the file's place meanwhile, its target is left
// alone. False with errno set.
bool ChangePermissions(const HostEntry& entry, mode_t permissions)
{
    const OpenFile file(OpenHostFile(entry.name.c_str(), O_PATH | O_NOFOLLOW));
    struct stat status;
    if (file.descriptor < 0 || fstat(file.descriptor, &status) != 0)
        return false;
    if (S_ISLNK(status.st_mode)) {
        errno = EACCES;
        return false;
    }
    // The host changes nothing through a descriptor that opens no content, but by this name.
    const std::string byDescriptor = "/proc/self/fd/" + std::to_string(file.descriptor);
    if (chmod(byDescriptor.c_str(), permissions) == 0)
        return true;
    // Where that folder is missing, newer hosts have a call of their own.
    return errno == ENOENT &&
           fchmodat(AT_FDCWD, entry.name.c_str(), permissions, AT_SYMLINK_NOFOLLOW) == 0;
}

} // namespace

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
    return ChangePermissions(*entry, changed) || FailFromErrno(errno);
}

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

#include "xelutils/platform/posix/device_root.h"
#include "xelutils/platform/posix/entries.h"
#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/posix/folder_names.h"
#include "xelutils/platform/root_folder.h"

namespace {

bool IsWorkingDirectory(const struct statx& folder)
{
    struct statx current;
    return ReadStatus(AT_FDCWD, ".", 0, current) && SameFile(folder, current);
}

} // namespace

bool IsRootFolder(const wchar_t* path)
{
    if (path == nullptr || *path == 0)
        return true;
    const std::optional<HostEntry> entry = FindEntry(path);
    struct statx status;
    return entry && ReadStatus(AT_FDCWD, entry->name.c_str(), 0, status) && IsRootFolder(status);
}

BOOL CreateDirectoryW(const wchar_t* name, void* /*security*/)
{
    constexpr mode_t kModeOfNewFolders = 0777;
    const std::optional<HostPath> path = ResolveDevicePath(name);
    if (!path)
        return FALSE;
    const EntryLookup lookup = LookUpEntry(*path, LookupUse::Change);
    if (lookup.entry)
        return Fail(ERROR_ALREADY_EXISTS);
    if (lookup.error != ERROR_FILE_NOT_FOUND)
        return Fail(lookup.error);
    if (mkdir(lookup.place.c_str(), kModeOfNewFolders) != 0)
        return errno == EEXIST ? Fail(ERROR_ALREADY_EXISTS) : FailFromErrno(errno);
    NoteNewName(lookup.place);
    return TRUE;
}

BOOL RemoveDirectoryW(const wchar_t* name)
{
    const std::optional<HostPath> path = ResolveDevicePath(name);
    if (!path)
        return FALSE;
    const EntryLookup lookup = LookUpEntry(*path, LookupUse::Change);
    if (!lookup.entry)
        return Fail(lookup.error);
    if (!lookup.entry->IsFolder())
        return Fail(ERROR_DIRECTORY);
    // By whatever name: there may be links on the way.
    if (IsRootFolder(lookup.entry->status) || IsWorkingDirectory(lookup.entry->status))
        return Fail(ERROR_ACCESS_DENIED);
    return rmdir(lookup.entry->name.c_str()) == 0 ? TRUE : FailFromErrno(errno);
}

BOOL DeleteFileW(const wchar_t* name)
{
    const std::optional<HostPath> path = ResolveFileName(name);
    if (!path)
        return FALSE;
    const EntryLookup lookup = LookUpEntry(*path, LookupUse::Change);
    if (!lookup.entry)
        return Fail(lookup.error);
    if (lookup.entry->IsFolder() || IsReadOnly(lookup.entry->status))
        return Fail(ERROR_ACCESS_DENIED);
    return unlink(lookup.entry->name.c_str()) == 0 ? TRUE : FailFromErrno(errno);
}

#include "xelutils/platform/posix/entries.h"

#include <cerrno>
#include <fcntl.h>
#include <utility>

#include "xelutils/platform/posix/device_root.h"
#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/posix/path_lookup.h"
#include "xelutils/platform/posix/storage_cards.h"

bool ReadStatus(int folder, const char* name, int flags, struct statx& status)
{
    return statx(folder, name, flags, STATX_BASIC_STATS | STATX_BTIME, &status) == 0;
}

bool SameFile(const struct statx& first, const struct statx& second)
{
    return first.stx_ino == second.stx_ino && first.stx_dev_major == second.stx_dev_major &&
           first.stx_dev_minor == second.stx_dev_minor;
}

bool IsReadOnly(const struct statx& status)
{
    constexpr unsigned kAnybodyWrites = S_IWUSR | S_IWGRP | S_IWOTH;
    return !S_ISDIR(status.stx_mode) && (status.stx_mode & kAnybodyWrites) == 0;
}

DWORD AttributesOf(const struct statx& status)
{
    if (S_ISDIR(status.stx_mode))
        return FILE_ATTRIBUTE_DIRECTORY;
    const DWORD link = S_ISLNK(status.stx_mode) ? FILE_ATTRIBUTE_REPARSE_POINT : 0;
    return FILE_ATTRIBUTE_ARCHIVE | link | (IsReadOnly(status) ? FILE_ATTRIBUTE_READONLY : 0);
}

DWORD AnswerForOwnName(HostEntry& entry)
{
    DWORD attributes = 0;
    if (entry.IsLink()) {
        attributes = FILE_ATTRIBUTE_REPARSE_POINT;
        struct statx target;
        if (ReadStatus(AT_FDCWD, entry.name.c_str(), 0, target))
            entry.status = target;
    }
    if (MayBeMountPoint(entry.status) && IsCardMountPoint(entry.name))
        attributes |= FILE_ATTRIBUTE_TEMPORARY;
    return AttributesOf(entry.status) | attributes;
}

EntryLookup LookUpEntry(const HostPath& path, LookupUse use)
{
    EntryLookup result;
    HostEntry entry{path.Name(), {}};
    bool found = ReadStatus(AT_FDCWD, path.Name(), AT_SYMLINK_NOFOLLOW, entry.status);
    if (!found && IsMissing(errno)) {
        FoundOrPlace other = FindOrPlaceWithoutCase(path, LookFor::Entry, use);
        if (!other.found) {
            result.error = other.place ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
            result.place = std::move(other.place).value_or(std::string());
            return result;
        }
        entry.name = *std::move(other.found);
        found = ReadStatus(AT_FDCWD, entry.name.c_str(), AT_SYMLINK_NOFOLLOW, entry.status);
    }
    if (!found)
        result.error = ErrorFromErrno(errno);
    else
        result.entry = std::move(entry);
    return result;
}

std::optional<HostEntry> FindEntry(const wchar_t* name)
{
    const std::optional<HostPath> path = ResolveDevicePath(name);
    if (!path)
        return std::nullopt;
    EntryLookup lookup = LookUpEntry(*path, LookupUse::Read);
    if (!lookup.entry) {
        Fail(lookup.error);
        return std::nullopt;
    }
    struct statx target;
    if (path->endsInSeparator && !lookup.entry->IsFolder() &&
        !(ReadStatus(AT_FDCWD, lookup.entry->name.c_str(), 0, target) &&
          S_ISDIR(target.stx_mode))) {
        Fail(ERROR_PATH_NOT_FOUND);
        return std::nullopt;
    }
    return std::move(lookup.entry);
}

std::optional<HostPath> ResolveFileName(const wchar_t* name)
{
    std::optional<HostPath> path = ResolveDevicePath(name);
    if (path && path->endsInSeparator) {
        Fail(ERROR_PATH_NOT_FOUND);
        return std::nullopt;
    }
    return path;
}

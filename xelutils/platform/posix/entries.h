// What stands in a folder under a name: a file, a folder, or a link, which is not followed.
#pragma once

#include <optional>
#include <string>
#include <sys/stat.h>

#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/path_lookup.h"
#include "xelutils/platform/posix/paths.h"

// Everything that the device's records need; `flags` as for the host's call. False with errno set.
bool ReadStatus(int folder, const char* name, int flags, struct statx& status);

struct HostEntry {
    // Absolute.
    std::string name;
    // Of the entry itself.
    struct statx status;

    bool IsLink() const { return S_ISLNK(status.stx_mode); }
    bool IsFolder() const { return S_ISDIR(status.stx_mode); }
    bool IsRegular() const { return S_ISREG(status.stx_mode); }
};

bool SameFile(const struct statx& first, const struct statx& second);

// The attributes of what `status` describes; a link is a file of its own.
DWORD AttributesOf(const struct statx& status);
bool IsReadOnly(const struct statx& status);

// The attributes with which `entry` answers to its own name; the status of a link becomes that of
// its target, if it has one.
DWORD AnswerForOwnName(HostEntry& entry);

struct EntryLookup {
    std::optional<HostEntry> entry;
    // Why there is none.
    DWORD error = ERROR_SUCCESS;
    // Where to make it; for ERROR_FILE_NOT_FOUND only.
    std::string place;
};

// As written, or else without regard to case. Leaves the last error alone.
EntryLookup LookUpEntry(const HostPath& path, LookupUse use);

// Sets the last error when there is no result.
std::optional<HostEntry> FindEntry(const wchar_t* name);

// For names that do not mean folders: as ResolveDevicePath, but refuses a closing separator.
std::optional<HostPath> ResolveFileName(const wchar_t* name);

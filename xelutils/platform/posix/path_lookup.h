// Names whose case differs from that on the host.
#pragma once

#include <optional>
#include <string>

#include "xelutils/platform/posix/paths.h"

// Whether the host's error says that there is nothing with the name as written. ENOTDIR too: where
// a file stands, there may be a folder whose name differs in case.
bool IsMissing(int hostError);

// What the last component of a path must be. Links further up are always followed.
enum class LookFor {
    // A file or folder, or a link to one; a link that leads nowhere is missing.
    Target,
    // Anything, also a link that leads nowhere.
    Entry,
    // A folder or a link to one.
    Folder,
};

// The host's name of what `path` means, without regard to case; for callers that did not find the
// name as written, which is not tried again. In each folder the component as written comes first,
// then those that differ in case, sorted by their bytes; where one leads nowhere, the next is
// tried. The base of the path is taken as it is.
std::optional<std::string> FindWithoutCase(const HostPath& path, LookFor lookFor);

struct FoundOrPlace {
    std::optional<std::string> found;
    // When nothing is found, the host's name for a file to be made: its folder as FindWithoutCase
    // finds it, its last component as written. Nothing when there is no such folder.
    std::optional<std::string> place;
};

// What a name is wanted for. Whoever makes, replaces or removes means the folders that exist as
// written: a sibling of one of them that differs in case is not touched.
enum class LookupUse { Read, Change };

FoundOrPlace FindOrPlaceWithoutCase(const HostPath& path, LookFor lookFor, LookupUse use);

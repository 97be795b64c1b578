// Names whose case differs from that on the host.
#pragma once

#include <optional>
#include <string>

#include "xelutils/platform/posix/paths.h"

// The host's name of an existing file or folder that `path` means, without regard to case; for
// callers that did not find the name as written. In each folder the component as written comes
// first, then those that differ in case, sorted by their bytes; where one leads nowhere, the
// next is tried. The base of the path is taken as it is. A link that leads nowhere is missing.
std::optional<std::string> FindWithoutCase(const HostPath& path);

// The host's name for a file to be made: its folder as FindWithoutCase finds it, its last
// component as written. Nothing when there is no such folder.
std::optional<std::string> PlaceToCreate(const HostPath& path);

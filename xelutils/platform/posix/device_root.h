// Device paths with the process's own root and working directory.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "xelutils/platform/posix/paths.h"

struct statx;

// As ResolveDevicePath of paths.h, with XEL_DEVICE_ROOT as it was at the first call. Sets the last
// error when there is no result.
std::optional<HostPath> ResolveDevicePath(const wchar_t* name);

// The terminated device path that reaches the file that the host calls `hostPath`, relative to
// the working directory if it does not begin with "/". Every name that the host can have is
// possible. ".." is taken as the host takes it, behind links. The empty text for an empty path.
std::vector<wchar_t> DevicePathFromHost(const std::string& hostPath);

// Whether the folder with this status is the device's root or the host's own, whatever it is
// called.
bool IsRootFolder(const struct statx& folder);

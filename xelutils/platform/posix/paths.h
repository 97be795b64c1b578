// Device paths and host paths: the rules, as far as they are rules about text.
//
//   \Documents\a.ini      below the device's root
//   \.host\etc\hosts      below the host's own root; ".." does not lead out of it
//   a.ini, ..\b.ini       from the working directory, never above the root that it lies below
//
// "\" and "/" both separate, several as one. "." and ".." are resolved in the text.
//
// On the host a name is UTF-8. Bytes that are none are carried as U+DC80 to U+DCFF, a backslash
// inside a name as U+F05C; a host name that holds U+F05C itself has the three bytes of it carried
// one by one. So every host name has exactly one device name, and no device name stands for two.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "xelutils/platform/coredll.h"

// Host directories, absolute, without closing separator: the host's root is the empty text.
struct PathBases {
    // Plays the device's root.
    std::string root;
    std::string workingDirectory;
};

struct HostPath {
    // Absolute, without "." and ".." and without closing separator; "" for the host's root.
    std::string text;
    // How many bytes of it are a base. What follows are the components that a caller named.
    std::size_t baseLength = 0;
    // Such a name means a directory.
    bool endsInSeparator = false;

    // What to hand to the host.
    const char* Name() const { return text.empty() ? "/" : text.c_str(); }
};

// Nothing for the empty name and for one that no host name stands for: surrogates without a
// partner that carry nothing, and carried bytes that a device name would not carry.
std::optional<HostPath> ResolveDevicePath(const wchar_t* name, const PathBases& bases);

// Whether the working directory matters for `name`.
bool IsRelativeDevicePath(const wchar_t* name);

// The device's units for a host name of any bytes, without terminator.
std::vector<wchar_t> DeviceNameFromHost(std::string_view hostName);

// The terminated device path that reaches the absolute `hostPath`, which is taken as it is: only
// separators, "." and ".." are tidied. Through "\.host\" unless it lies below the device's root.
std::vector<wchar_t> DevicePathFromHost(std::string_view hostPath, const PathBases& bases);

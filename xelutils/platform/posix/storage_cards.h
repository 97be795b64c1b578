// Removable cards: disks that the kernel calls removable, and SD cards, mounted somewhere.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "xelutils/platform/coredll.h"

struct statx;

// Where the kernel tells about mounts and disks.
struct CardSources {
    std::string mountInfo = "/proc/self/mountinfo";
    std::string sysfs = "/sys";
};

// From now on others than the kernel's own, for tests.
void UseCardSources(CardSources sources);

struct Mount {
    // "major:minor"
    std::string device;
    std::string mountPoint;
    // Mostly a path below /dev.
    std::string source;
};

// The lines of a mountinfo file; those that make no sense are left out.
std::vector<Mount> ParseMounts(std::string_view mountInfo);

// False when a look at what the kernel says of the folder spares the search.
bool MayBeMountPoint(const struct statx& status);

// Whether a card is mounted at the folder `hostName`, links resolved. Reads the kernel's files
// anew each time.
bool IsCardMountPoint(const std::string& hostName);

// Texts are empty for what the disk does not tell.
struct Volume {
    std::string manufacturer;
    std::string serialNumber;
};

// The volume that `name` means, the device path of a card's folder with "\vol:" behind it; nothing
// for all other names.
std::optional<Volume> FindVolume(const wchar_t* name);

#include "xelutils/platform/posix/storage_cards.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "xelutils/platform/posix/device_root.h"
#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/posix/handles.h"
#include "xelutils/platform/posix/path_lookup.h"
#include "xelutils/platform/posix/wide_length.h"
#include "xelutils/platform/unload.h"

namespace {

constexpr std::string_view kVolumeName = "vol:";

// ---- Sources ------------------------------------------------------------------------------

struct Sources {
    std::mutex lock;
    CardSources current;
    bool isKernel = true;
};

Sources& TheSources()
{
    // Lasting: attributes may still be asked for while the program ends.
    static Sources& s_sources = MakeLasting<Sources>();
    return s_sources;
}

CardSources CurrentSources()
{
    Sources& sources = TheSources();
    const std::lock_guard guard(sources.lock);
    return sources.current;
}

// Empty when it cannot be read.
std::string ReadTextFile(const std::string& name)
{
    std::string text;
    const int descriptor = open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0)
        return text;
    const OpenFile file(descriptor);
    char block[4096];
    ssize_t count;
    while ((count = read(descriptor, block, sizeof block)) > 0 || (count < 0 && errno == EINTR)) {
        if (count > 0)
            text.append(block, static_cast<std::size_t>(count));
    }
    return text;
}

// Without the white space around it.
std::string ReadAttribute(const std::string& folder, const char* name)
{
    constexpr char kWhiteSpace[] = " \t\r\n";
    std::string text = ReadTextFile(folder + '/' + name);
    text.erase(text.find_last_not_of(kWhiteSpace) + 1);
    text.erase(0, text.find_first_not_of(kWhiteSpace));
    return text;
}

bool Exists(const std::string& name)
{
    return access(name.c_str(), F_OK) == 0;
}

// Without links; empty when it does not exist.
std::string PhysicalPath(const std::string& name)
{
    char resolved[PATH_MAX];
    return realpath(name.c_str(), resolved) != nullptr ? resolved : std::string();
}

// ---- Mounts -------------------------------------------------------------------------------

std::string_view TakeWord(std::string_view& line)
{
    const std::size_t length = line.find(' ');
    const std::string_view word = line.substr(0, length);
    line.remove_prefix(length == line.npos ? line.size() : length + 1);
    return word;
}

// The kernel writes white space and backslashes of names as a backslash and three octal digits.
std::string Unescaped(std::string_view word)
{
    constexpr std::size_t kDigits = 3;
    std::string text;
    for (std::size_t i = 0; i < word.size(); ++i) {
        const std::string_view digits = word.substr(i + 1, kDigits);
        if (word[i] != '\\' || digits.size() != kDigits ||
            digits.find_first_not_of("01234567") != digits.npos) {
            text.push_back(word[i]);
            continue;
        }
        text.push_back(
            static_cast<char>((digits[0] - '0') << 6 | (digits[1] - '0') << 3 | (digits[2] - '0')));
        i += kDigits;
    }
    return text;
}

std::optional<Mount> FindMount(const CardSources& sources, const std::string& mountPoint)
{
    std::optional<Mount> found;
    for (Mount& mount : ParseMounts(ReadTextFile(sources.mountInfo))) {
        // The last one covers those before it.
        if (mount.mountPoint == mountPoint)
            found = std::move(mount);
    }
    return found;
}

// ---- Disks --------------------------------------------------------------------------------

std::string ParentOf(const std::string& folder)
{
    return folder.substr(0, folder.rfind('/'));
}

// The disk's folder in sysfs; empty when the mount is on none.
std::string DiskOf(const Mount& mount, const std::string& sysfs)
{
    std::string folder = PhysicalPath(sysfs + "/dev/block/" + mount.device);
    if (folder.empty()) {
        // Some file systems have a number of their own; what they are mounted from tells more.
        if (!mount.source.starts_with("/dev/"))
            return {};
        const std::string name = mount.source.substr(mount.source.rfind('/') + 1);
        folder = PhysicalPath(sysfs + "/class/block/" + name);
    }
    return Exists(folder + "/partition") ? ParentOf(folder) : folder;
}

// The slots of SD cards are not called removable, what is in them is.
bool IsRemovable(const std::string& disk)
{
    return ReadAttribute(disk, "removable") == "1" || ReadAttribute(disk, "device/type") == "SD";
}

// Who made a disk, and its number, are told by the device around it: the card, or the reader.
Volume DescribeDisk(const std::string& disk, const std::string& sysfs)
{
    const std::size_t top = PhysicalPath(sysfs).size();
    for (std::string folder = disk; folder.size() > top; folder = ParentOf(folder)) {
        const std::string serialNumber = ReadAttribute(folder, "serial");
        // Above a USB device there are only the hubs that it is plugged into.
        if (serialNumber.empty() && !Exists(folder + "/idVendor"))
            continue;
        std::string manufacturer = ReadAttribute(folder, "manufacturer");
        if (manufacturer.empty())
            manufacturer = ReadAttribute(folder, "manfid");
        return {manufacturer, serialNumber};
    }
    return {};
}

bool EndsInVolumeName(const wchar_t* name)
{
    static constexpr wchar_t kEnding[] = L"vol:";
    const std::size_t length = WideLength(name);
    if (length <= kVolumeName.size())
        return false;
    const wchar_t* const ending = name + length - kVolumeName.size();
    return (ending[-1] == '\\' || ending[-1] == '/') && _wcsicmp(ending, kEnding) == 0;
}

// What is mounted at the folder, if that is a card.
std::optional<Volume> FindCard(const std::string& folder)
{
    const std::string mountPoint = PhysicalPath(folder);
    if (mountPoint.empty())
        return std::nullopt;
    const CardSources sources = CurrentSources();
    const std::optional<Mount> mount = FindMount(sources, mountPoint);
    if (!mount)
        return std::nullopt;
    const std::string disk = DiskOf(*mount, sources.sysfs);
    if (disk.empty() || !IsRemovable(disk))
        return std::nullopt;
    return DescribeDisk(disk, sources.sysfs);
}

} // namespace

void UseCardSources(CardSources newSources)
{
    Sources& sources = TheSources();
    const std::lock_guard guard(sources.lock);
    const CardSources kernels;
    sources.isKernel =
        newSources.mountInfo == kernels.mountInfo && newSources.sysfs == kernels.sysfs;
    sources.current = std::move(newSources);
}

std::vector<Mount> ParseMounts(std::string_view mountInfo)
{
    // 36 35 8:17 /root/of/mount /mount/point options [optional fields] - type source options
    constexpr std::string_view kEndOfOptionalFields = "-";
    std::vector<Mount> mounts;
    while (!mountInfo.empty()) {
        const std::size_t length = mountInfo.find('\n');
        std::string_view line = mountInfo.substr(0, length);
        mountInfo.remove_prefix(length == mountInfo.npos ? mountInfo.size() : length + 1);
        TakeWord(line);
        TakeWord(line);
        const std::string_view device = TakeWord(line);
        TakeWord(line);
        const std::string_view mountPoint = TakeWord(line);
        while (!line.empty() && TakeWord(line) != kEndOfOptionalFields) {
        }
        TakeWord(line);
        const std::string_view source = TakeWord(line);
        if (!source.empty())
            mounts.push_back({std::string(device), Unescaped(mountPoint), Unescaped(source)});
    }
    return mounts;
}

bool MayBeMountPoint(const struct statx& status)
{
    if (!S_ISDIR(status.stx_mode))
        return false;
    if ((status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0 ||
        (status.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) == 0)
        return true;
    Sources& sources = TheSources();
    const std::lock_guard guard(sources.lock);
    return !sources.isKernel;
}

bool IsCardMountPoint(const std::string& hostName)
{
    return FindCard(hostName).has_value();
}

// ---- Volumes ------------------------------------------------------------------------------

std::optional<Volume> FindVolume(const wchar_t* name)
{
    if (name == nullptr || !EndsInVolumeName(name))
        return std::nullopt;
    std::optional<HostPath> path = ResolveDevicePath(name);
    if (!path)
        return std::nullopt;
    path->text.resize(path->text.size() - kVolumeName.size() - 1);
    if (Exists(path->Name()))
        return FindCard(path->Name());
    const std::optional<std::string> folder = FindWithoutCase(*path, LookFor::Folder);
    return folder ? FindCard(*folder) : std::nullopt;
}

namespace {

// Words at the start of the record.
struct StorageIdHeader {
    DWORD size;
    DWORD flags;
    DWORD manufacturerOffset;
    DWORD serialNumberOffset;
};
constexpr DWORD kNoManufacturer = 1;
constexpr DWORD kNoSerialNumber = 2;

std::string RecordOf(const Volume& volume)
{
    std::string texts;
    const auto add = [&texts](const std::string& text) {
        const std::size_t offset = sizeof(StorageIdHeader) + texts.size();
        texts.append(text.c_str(), text.size() + 1);
        return static_cast<DWORD>(offset);
    };
    StorageIdHeader header{};
    if (volume.manufacturer.empty())
        header.flags |= kNoManufacturer;
    else
        header.manufacturerOffset = add(volume.manufacturer);
    if (volume.serialNumber.empty())
        header.flags |= kNoSerialNumber;
    else
        header.serialNumberOffset = add(volume.serialNumber);
    header.size = static_cast<DWORD>(sizeof header + texts.size());
    return std::string(reinterpret_cast<const char*>(&header), sizeof header) + texts;
}

} // namespace

BOOL DeviceIoControl(HANDLE device, DWORD code, void* input, DWORD inputSize, void* output,
                     DWORD outputSize, DWORD* returned, void* overlapped)
{
    if (returned != nullptr)
        *returned = 0;
    const std::shared_ptr<const Volume> volume = LookUpVolume(device);
    if (!volume)
        return FALSE;
    if (code != IOCTL_DISK_GET_STORAGEID)
        return Fail(ERROR_NOT_SUPPORTED);
    if (input != nullptr || inputSize != 0 || overlapped != nullptr || output == nullptr ||
        outputSize < sizeof(StorageIdHeader))
        return Fail(ERROR_INVALID_PARAMETER);
    const std::string record = RecordOf(*volume);
    if (record.size() > outputSize) {
        std::memcpy(output, record.data(), sizeof(DWORD));
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    std::memcpy(output, record.data(), record.size());
    if (returned != nullptr)
        *returned = static_cast<DWORD>(record.size());
    return TRUE;
}

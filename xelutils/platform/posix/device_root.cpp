#include "xelutils/platform/posix/device_root.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "xelutils/platform/folder_pin.h"
#include "xelutils/platform/posix/entries.h"
#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/unload.h"

static thread_local constinit const FolderPin* t_pin = nullptr;

namespace {

// Empty for the host's root. Nothing when there is none any more, or none that has a name: a
// relative name would mean something else then.
std::optional<std::string> WorkingDirectory()
{
    char path[PATH_MAX];
    // A folder that this process cannot reach by name is reported without leading separator.
    if (getcwd(path, sizeof path) == nullptr || path[0] != '/')
        return std::nullopt;
    return path[1] == 0 ? "" : path;
}

// The path without links, "." and ".."; empty when it does not exist.
std::string PhysicalPath(const std::string& path)
{
    char resolved[PATH_MAX];
    return realpath(path.c_str(), resolved) != nullptr ? resolved : std::string();
}

std::string Absolute(const std::string& hostPath)
{
    return hostPath[0] == '/' ? hostPath : WorkingDirectory().value_or("") + '/' + hostPath;
}

// Working directory and program path come without links, and so must what they are compared with.
std::string ReadDeviceRoot()
{
    const char* const name = std::getenv("XEL_DEVICE_ROOT");
    if (name == nullptr || *name == 0)
        return {};
    const std::string absolute = Absolute(name);
    std::string root = PhysicalPath(absolute);
    if (root.empty())
        root = absolute;
    while (!root.empty() && root.back() == '/')
        root.pop_back();
    return root;
}

const std::string& DeviceRoot()
{
    // Lasting: files may still be opened while the program ends.
    static const std::string& s_root = MakeLasting<std::string>(ReadDeviceRoot());
    return s_root;
}

} // namespace

std::optional<HostPath> ResolveDevicePath(const wchar_t* name)
{
    if (name == nullptr || *name == 0) {
        Fail(ERROR_PATH_NOT_FOUND);
        return std::nullopt;
    }
    PathBases bases{DeviceRoot(), {}};
    if (IsRelativeDevicePath(name)) {
        std::optional<std::string> directory = WorkingDirectory();
        if (!directory) {
            Fail(ERROR_PATH_NOT_FOUND);
            return std::nullopt;
        }
        bases.workingDirectory = *std::move(directory);
    }
    std::optional<HostPath> path = ResolveDevicePath(name, bases);
    if (!path)
        Fail(ERROR_INVALID_NAME);
    else if (t_pin != nullptr && t_pin->Replace(path->text))
        path->baseLength = std::max(path->baseLength, t_pin->FoundLength());
    return path;
}

std::vector<wchar_t> DevicePathFromHost(const std::string& hostPath)
{
    if (hostPath.empty())
        return {0};
    std::string path = Absolute(hostPath);
    if ((path + '/').find("/../") != std::string::npos) {
        const std::size_t lastSeparator = path.rfind('/');
        const bool endsInDots = path.compare(lastSeparator, path.npos, "/..") == 0;
        const std::size_t folderLength = endsInDots ? path.size() : lastSeparator;
        const std::string folder = PhysicalPath(path.substr(0, folderLength));
        if (!folder.empty())
            path.replace(0, folderLength, folder);
    }
    return DevicePathFromHost(path, {DeviceRoot(), {}});
}

FolderPin::FolderPin(const wchar_t* folder) : m_outer(std::exchange(t_pin, nullptr))
{
    if (const std::optional<HostEntry> entry = FindEntry(folder)) {
        m_resolved = ResolveDevicePath(folder)->text;
        m_found = entry->name;
    }
    t_pin = this;
}

FolderPin::~FolderPin()
{
    t_pin = m_outer;
}

bool FolderPin::Replace(std::string& path) const
{
    const std::size_t length = m_resolved.size();
    const bool begins = length > 0 && path.compare(0, length, m_resolved) == 0 &&
                        (path.size() == length || path[length] == '/');
    if (begins)
        path.replace(0, length, m_found);
    return begins;
}

bool IsRootFolder(const struct statx& folder)
{
    const std::string& deviceRoot = DeviceRoot();
    const auto isFolder = [&folder](const char* name) {
        struct statx status;
        return ReadStatus(AT_FDCWD, name, 0, status) && SameFile(folder, status);
    };
    return isFolder("/") || (!deviceRoot.empty() && isFolder(deviceRoot.c_str()));
}

#include "xelutils/platform/posix/program_path.h"

#include <algorithm>
#include <climits>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/device_root.h"
#include "xelutils/platform/posix/errors.h"

namespace {

constexpr char kProgramLink[] = "/proc/self/exe";
constexpr std::string_view kGone = " (deleted)";

// Whether both names lead to one file, which is there.
bool SameFile(const char* first, const char* second)
{
    struct stat a;
    struct stat b;
    return stat(first, &a) == 0 && stat(second, &b) == 0 && a.st_dev == b.st_dev &&
           a.st_ino == b.st_ino;
}

} // namespace

std::string FileBehindLink(const char* link)
{
    char text[PATH_MAX];
    const ssize_t length = readlink(link, text, sizeof text);
    if (length <= 0)
        return {};
    std::string name(text, static_cast<std::size_t>(length));
    // A file that is there may well be called so.
    if (name.ends_with(kGone) && !SameFile(name.c_str(), link))
        name.resize(name.size() - kGone.size());
    return name;
}

DWORD GetModuleFileNameW(HMODULE module, wchar_t* buffer, DWORD size)
{
    if (module != nullptr)
        return Fail(ERROR_MOD_NOT_FOUND), 0;
    const std::string hostName = FileBehindLink(kProgramLink);
    if (hostName.empty())
        return Fail(ERROR_FILE_NOT_FOUND), 0;
    if (size == 0)
        return Fail(ERROR_INSUFFICIENT_BUFFER), 0;
    const std::vector<wchar_t> name = DevicePathFromHost(hostName);
    const std::size_t stored = std::min<std::size_t>(name.size(), size) - 1;
    std::copy_n(name.begin(), stored, buffer);
    buffer[stored] = 0;
    if (name.size() > size) {
        Fail(ERROR_INSUFFICIENT_BUFFER);
        return size;
    }
    return static_cast<DWORD>(stored);
}

// Device names to host names and back: what comes out is a tidy absolute path that does not leave
// its root by its text, and every host name has exactly one device name.
#include <string>
#include <vector>

#include "fuzz_input.h"
#include "xelutils/platform/posix/paths.h"

namespace {

using Units = std::vector<wchar_t>;

wchar_t Unit(FuzzInput& input)
{
    static constexpr wchar_t kUnits[] = {'\\', '/',    '.',    '.',    'a',    ':',   0xF05C,
                                         0xE9, 0x20AC, 0xD83D, 0xDE00, 0xDCC3, 0xDCA9};
    return input.Byte() < 0xF0 ? input.One(kUnits) : static_cast<wchar_t>(input.Word());
}

void AppendHostFolder(Units& units)
{
    for (const char ch : {'\\', '.', 'h', 'O', 's', 't', '\\'})
        units.push_back(static_cast<wchar_t>(ch));
}

bool IsTidy(const std::string& path)
{
    const std::string closed = path + '/';
    for (const char* const part : {"//", "/./", "/../"}) {
        if (closed.find(part) != std::string::npos)
            return false;
    }
    return (path.empty() || path[0] == '/') && path.find('\0') == std::string::npos;
}

void CheckDeviceName(const Units& name, const PathBases& bases)
{
    const std::optional<HostPath> path = ResolveDevicePath(name.data(), bases);
    if (!path)
        return;
    FUZZ_REQUIRE(IsTidy(path->text) && path->baseLength <= path->text.size());
    if (path->baseLength > 0 && IsRelativeDevicePath(name.data()))
        FUZZ_REQUIRE(bases.workingDirectory.starts_with(path->text.substr(0, path->baseLength)));
    // The one name that the host's name has leads to the same place.
    const Units back = DevicePathFromHost(path->text.empty() ? "/" : path->text, bases);
    const std::optional<HostPath> again = ResolveDevicePath(back.data(), bases);
    FUZZ_REQUIRE(again && again->text == path->text);
}

void CheckHostName(std::string hostName, const PathBases& bases)
{
    std::erase(hostName, '\0');
    std::erase(hostName, '/');
    if (hostName.empty() || hostName == "." || hostName == "..")
        return;
    Units units = DeviceNameFromHost(hostName);
    FUZZ_REQUIRE(units.size() <= hostName.size());
    for (const wchar_t unit : units)
        FUZZ_REQUIRE(unit != '\\' && unit != '/' && unit != 0);
    units.insert(units.begin(), {'\\', 'x', '\\'});
    units.push_back(0);
    const std::optional<HostPath> path = ResolveDevicePath(units.data(), bases);
    FUZZ_REQUIRE(path && path->text == bases.root + "/x/" + hostName);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const PathBases kBases[] = {{"", "/home/me"},
                                       {"/srv/device", "/srv/device/work/a"},
                                       {"/srv/device", "/home"},
                                       {"", ""}};
    FuzzInput input(data, size);
    const PathBases& bases = kBases[input.Byte() % std::size(kBases)];
    if (input.Byte() % 2 == 0) {
        CheckHostName({reinterpret_cast<const char*>(data), size}, bases);
        return 0;
    }
    Units name;
    if (input.Byte() % 4 == 0)
        AppendHostFolder(name);
    while (!input.Empty())
        name.push_back(Unit(input));
    name.push_back(0);
    CheckDeviceName(name, bases);
    return 0;
}

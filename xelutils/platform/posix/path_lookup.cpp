#include "xelutils/platform/posix/path_lookup.h"

#include <algorithm>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

#include "xelutils/platform/posix/case_tables.h"

namespace {

struct CloseListing {
    void operator()(DIR* listing) const { closedir(listing); }
};
using Listing = std::unique_ptr<DIR, CloseListing>;

bool Exists(const std::string& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0;
}

bool IsFolder(const char* path)
{
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

std::vector<wchar_t> Folded(std::string_view hostName)
{
    std::vector<wchar_t> units = DeviceNameFromHost(hostName);
    std::transform(units.begin(), units.end(), units.begin(), FoldCase);
    return units;
}

// The names in `folder` that differ from `name` in case only, in the order of their bytes.
std::vector<std::string> Siblings(const std::string& folder, std::string_view name)
{
    // A unit takes at most three bytes, so most names of another length need no closer look.
    constexpr std::size_t kMostBytesPerUnit = 3;
    std::vector<std::string> siblings;
    const Listing listing(opendir(folder.empty() ? "/" : folder.c_str()));
    if (!listing)
        return siblings;
    const std::vector<wchar_t> wanted = Folded(name);
    while (const dirent* const entry = readdir(listing.get())) {
        const std::string_view candidate = entry->d_name;
        if (candidate.size() >= wanted.size() &&
            candidate.size() <= wanted.size() * kMostBytesPerUnit && candidate != name &&
            Folded(candidate) == wanted)
            siblings.emplace_back(candidate);
    }
    std::sort(siblings.begin(), siblings.end());
    return siblings;
}

// Continues `found`, the host's name of an existing folder, with the components of `rest`, each
// of which begins with a separator.
std::optional<std::string> Continue(const std::string& found, std::string_view rest)
{
    if (rest.empty())
        return found;
    const std::size_t end = std::min(rest.find('/', 1), rest.size());
    const std::string_view component = rest.substr(1, end - 1);
    rest.remove_prefix(end);

    const auto through = [&](std::string_view name) -> std::optional<std::string> {
        const std::string next = found + '/' + std::string(name);
        return Exists(next) ? Continue(next, rest) : std::nullopt;
    };
    if (std::optional<std::string> path = through(component))
        return path;
    for (const std::string& sibling : Siblings(found, component)) {
        if (std::optional<std::string> path = through(sibling))
            return path;
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> FindWithoutCase(const HostPath& path)
{
    return Continue(path.text.substr(0, path.baseLength),
                    std::string_view(path.text).substr(path.baseLength));
}

std::optional<std::string> PlaceToCreate(const HostPath& path)
{
    if (path.text.size() == path.baseLength)
        return std::nullopt;
    const std::size_t lastSeparator = path.text.rfind('/');
    HostPath folder = path;
    folder.text.resize(lastSeparator);
    std::optional<std::string> place;
    if (IsFolder(folder.Name()))
        place = folder.text;
    else
        place = FindWithoutCase(folder);
    if (!place || !IsFolder(HostPath{*place}.Name()))
        return std::nullopt;
    return *place + path.text.substr(lastSeparator);
}

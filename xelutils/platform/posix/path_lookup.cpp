#include "xelutils/platform/posix/path_lookup.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <sys/stat.h>
#include <tuple>
#include <utility>

#include "xelutils/platform/posix/folder_names.h"

namespace {

bool ReadFolderStatus(const std::string& path, struct stat& status)
{
    return stat(path.empty() ? "/" : path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool IsFolder(const std::string& path)
{
    struct stat status;
    return ReadFolderStatus(path, status);
}

class Search {
public:
    Search(LookFor lookFor, LookupUse use) : m_lookFor(lookFor), m_use(use) {}

    // Continues `folder`, the host's name of an existing folder, with the components of `rest`,
    // each of which begins with a separator. `asWritten` while no component has changed its case.
    std::optional<std::string> Continue(const std::string& folder, const struct stat& status,
                                        std::string_view rest, bool asWritten)
    {
        const std::size_t end = std::min(rest.find('/', 1), rest.size());
        const std::string_view component = rest.substr(1, end - 1);
        rest.remove_prefix(end);

        const std::string exact = folder + '/' + std::string(component);
        std::optional<std::string> path;
        if (rest.empty() && asWritten)
            m_place = exact; // where the caller found nothing
        else
            path = Through(exact, rest, asWritten);
        if (path)
            return path;
        if (m_use == LookupUse::Change && !rest.empty() && IsFolder(exact))
            return std::nullopt;
        for (const std::string& other : NamesInOtherCase(folder, status, component)) {
            path = Through(folder + '/' + other, rest, false);
            if (path)
                break;
        }
        return path;
    }

    // Where to make what was not found, if the folder exists as written.
    const std::optional<std::string>& Place() const { return m_place; }

private:
    std::optional<std::string> Through(const std::string& next, std::string_view rest,
                                       bool asWritten)
    {
        if (rest.empty())
            return IsWanted(next) ? std::optional(next) : std::nullopt;
        struct stat status;
        if (!ReadFolderStatus(next, status))
            return std::nullopt;
        // Links to folders further up could lead here by ways without number.
        const DeadEnd here{status.st_dev, status.st_ino, rest.size()};
        if (m_deadEnds.count(here) != 0)
            return std::nullopt;
        std::optional<std::string> path = Continue(next, status, rest, asWritten);
        if (!path)
            m_deadEnds.insert(here);
        return path;
    }

    bool IsWanted(const std::string& path) const
    {
        struct stat status;
        switch (m_lookFor) {
        case LookFor::Entry:
            return lstat(path.c_str(), &status) == 0;
        case LookFor::Folder:
            return IsFolder(path);
        default:
            return stat(path.c_str(), &status) == 0;
        }
    }

    // A folder, and how many bytes of the path were still to be found in it.
    using DeadEnd = std::tuple<dev_t, ino_t, std::size_t>;

    const LookFor m_lookFor;
    const LookupUse m_use;
    std::optional<std::string> m_place;
    std::set<DeadEnd> m_deadEnds;
};

std::optional<std::string> SearchFor(const HostPath& path, Search& search)
{
    const std::string base = path.text.substr(0, path.baseLength);
    const std::string_view rest = std::string_view(path.text).substr(path.baseLength);
    struct stat status;
    if (rest.empty() || !ReadFolderStatus(base, status))
        return std::nullopt;
    return search.Continue(base, status, rest, true);
}

} // namespace

bool IsMissing(int hostError)
{
    return hostError == ENOENT || hostError == ENOTDIR;
}

std::optional<std::string> FindWithoutCase(const HostPath& path, LookFor lookFor)
{
    Search search(lookFor, LookupUse::Read);
    return SearchFor(path, search);
}

FoundOrPlace FindOrPlaceWithoutCase(const HostPath& path, LookFor lookFor, LookupUse use)
{
    Search search(lookFor, use);
    if (std::optional<std::string> found = SearchFor(path, search))
        return {std::move(found), std::nullopt};
    if (search.Place())
        return {std::nullopt, search.Place()};

    const std::size_t lastSeparator = path.text.rfind('/');
    if (lastSeparator == std::string::npos || lastSeparator < path.baseLength)
        return {};
    HostPath folder = path;
    folder.text.resize(lastSeparator);
    std::optional<std::string> place = FindWithoutCase(folder, LookFor::Folder);
    if (place)
        place->append(path.text, lastSeparator);
    return {std::nullopt, std::move(place)};
}

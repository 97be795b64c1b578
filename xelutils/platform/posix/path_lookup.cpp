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

bool IsWanted(const std::string& path, LookFor lookFor)
{
    struct stat status;
    switch (lookFor) {
    case LookFor::Entry:
        return lstat(path.c_str(), &status) == 0;
    case LookFor::Folder:
        return IsFolder(path);
    default:
        return stat(path.c_str(), &status) == 0;
    }
}

// Goes down from folder to folder, and back from those that lead nowhere. What lies between stands
// in a vector and not on the stack: a path may have thousands of components.
class Search {
public:
    Search(const std::string& wanted, LookFor lookFor, LookupUse use)
        : m_wanted(wanted), m_lookFor(lookFor), m_use(use)
    {
    }

    // The first `baseLength` bytes of what is wanted are taken as they are. They must name a
    // folder, and stand before a separator.
    std::optional<std::string> RunBelow(std::size_t baseLength)
    {
        struct stat status;
        m_path.assign(m_wanted, 0, baseLength);
        if (baseLength == m_wanted.size() || !ReadFolderStatus(m_path, status))
            return std::nullopt;
        Enter(status, baseLength, true);
        while (!m_levels.empty()) {
            Level& level = m_levels.back();
            if (!GoToNextName(level)) {
                Leave();
            } else if (level.IsLast()) {
                if (IsWanted(m_path, m_lookFor))
                    return m_path;
            } else if (ReadFolderStatus(m_path, status) &&
                       m_deadEnds.count(DeadEndAt(status, level.rest.size())) == 0) {
                Enter(status, m_wanted.size() - level.rest.size(), level.isNameAsWritten);
            }
        }
        return std::nullopt;
    }

    // Where to make what was not found, if the folder exists as written.
    const std::optional<std::string>& Place() const { return m_place; }

private:
    // A folder on the way.
    struct Level {
        struct stat status;
        // Of the name in m_path.
        std::size_t length;
        // What is to be found in it, and what then follows, which begins with a separator.
        std::string_view component;
        std::string_view rest;
        bool isAsWritten;
        bool isWrittenNameTried = false;
        // The names to try after that one, once they are known.
        std::optional<std::vector<std::string>> others = std::nullopt;
        std::size_t nextOther = 0;
        // Of the name in it that the search stands at.
        bool isNameAsWritten = false;

        bool IsLast() const { return rest.empty(); }
    };
    // A folder, and how many bytes of the path were still to be found in it. Links to folders
    // further up could lead there by ways without number.
    using DeadEnd = std::tuple<dev_t, ino_t, std::size_t>;

    static DeadEnd DeadEndAt(const struct stat& status, std::size_t bytesToFind)
    {
        return {status.st_dev, status.st_ino, bytesToFind};
    }

    // The folder m_path, whose name stands for the first `wantedLength` bytes of what is wanted.
    void Enter(const struct stat& status, std::size_t wantedLength, bool isAsWritten)
    {
        const std::string_view rest = std::string_view(m_wanted).substr(wantedLength);
        const std::size_t end = std::min(rest.find('/', 1), rest.size());
        m_levels.push_back(
            {status, m_path.size(), rest.substr(1, end - 1), rest.substr(end), isAsWritten});
    }

    void Leave()
    {
        const Level& level = m_levels.back();
        const std::size_t bytesToFind = 1 + level.component.size() + level.rest.size();
        m_deadEnds.insert(DeadEndAt(level.status, bytesToFind));
        m_levels.pop_back();
    }

    void GoTo(const Level& level, std::string_view name)
    {
        m_path.resize(level.length);
        m_path.append(1, '/').append(name);
    }

    // The name as written comes first. False when none is left.
    bool GoToNextName(Level& level)
    {
        if (!level.isWrittenNameTried) {
            level.isWrittenNameTried = true;
            GoTo(level, level.component);
            level.isNameAsWritten = level.isAsWritten;
            if (!level.IsLast() || !level.isAsWritten)
                return true;
            m_place = m_path; // where the caller found nothing
        }
        if (!level.others)
            level.others = OtherNames(level);
        if (level.nextOther == level.others->size())
            return false;
        GoTo(level, (*level.others)[level.nextOther++]);
        level.isNameAsWritten = false;
        return true;
    }

    std::vector<std::string> OtherNames(const Level& level)
    {
        GoTo(level, level.component);
        if (m_use == LookupUse::Change && !level.IsLast() && IsFolder(m_path))
            return {};
        m_path.resize(level.length);
        return NamesInOtherCase(m_path, level.status, level.component);
    }

    const std::string& m_wanted;
    const LookFor m_lookFor;
    const LookupUse m_use;
    std::vector<Level> m_levels;
    std::string m_path;
    std::optional<std::string> m_place;
    std::set<DeadEnd> m_deadEnds;
};

} // namespace

bool IsMissing(int hostError)
{
    return hostError == ENOENT || hostError == ENOTDIR;
}

std::optional<std::string> FindWithoutCase(const HostPath& path, LookFor lookFor)
{
    return Search(path.text, lookFor, LookupUse::Read).RunBelow(path.baseLength);
}

FoundOrPlace FindOrPlaceWithoutCase(const HostPath& path, LookFor lookFor, LookupUse use)
{
    const std::size_t lastSeparator = path.text.rfind('/');
    if (path.text.size() == path.baseLength || lastSeparator < path.baseLength)
        return {};
    Search search(path.text, lookFor, use);
    std::optional<std::string> found;
    // Spares a look at each folder further up.
    if (use == LookupUse::Change)
        found = search.RunBelow(lastSeparator);
    if (!found && !search.Place())
        found = search.RunBelow(path.baseLength);
    if (found)
        return {std::move(found), std::nullopt};
    if (search.Place())
        return {std::nullopt, search.Place()};

    HostPath folder = path;
    folder.text.resize(lastSeparator);
    std::optional<std::string> place = FindWithoutCase(folder, LookFor::Folder);
    if (place)
        place->append(path.text, lastSeparator);
    return {std::nullopt, std::move(place)};
}

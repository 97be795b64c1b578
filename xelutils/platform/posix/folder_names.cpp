#include "xelutils/platform/posix/folder_names.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <iterator>
#include <linux/magic.h>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <sys/utsname.h>
#include <sys/vfs.h>
#include <unordered_map>
#include <utility>

#include "xelutils/platform/posix/case_tables.h"
#include "xelutils/platform/posix/files.h"
#include "xelutils/platform/posix/folder_reader.h"
#include "xelutils/platform/posix/handles.h"
#include "xelutils/platform/posix/paths.h"
#include "xelutils/platform/unload.h"

namespace {

using Clock = std::chrono::steady_clock;

// How long own changes alone may keep a listing up to date, before it is read again.
constexpr auto kOwnChangesSuffice = std::chrono::milliseconds(100);
// Each miss asks for the folder and all above it: more than the levels of a deep tree.
constexpr std::size_t kMostFolders = 1024;
// In all folders together, at about 60 bytes each. A larger folder is read for every miss.
constexpr std::size_t kMostNames = 1 << 18;

std::vector<wchar_t> Folded(std::string_view hostName)
{
    std::vector<wchar_t> units = DeviceNameFromHost(hostName);
    std::transform(units.begin(), units.end(), units.begin(), FoldCase);
    return units;
}

// FNV-1a over the folded units.
class FoldedHash {
public:
    void Add(wchar_t unit) { m_value = (m_value ^ FoldCase(unit)) * 0x100000001B3; }
    std::uint64_t Value() const { return m_value; }

private:
    std::uint64_t m_value = 0xCBF29CE484222325;
};

std::uint64_t HashOf(std::string_view hostName)
{
    FoldedHash hash;
    const auto isPlain = [](char byte) {
        return static_cast<unsigned char>(byte) < kEndOfAscii && byte != '\\';
    };
    if (std::all_of(hostName.begin(), hostName.end(), isPlain)) {
        for (const char byte : hostName)
            hash.Add(static_cast<wchar_t>(byte));
    } else {
        for (const wchar_t unit : DeviceNameFromHost(hostName))
            hash.Add(unit);
    }
    return hash.Value();
}

class FoldedNames {
public:
    void Add(std::string_view name)
    {
        m_names.emplace(HashOf(name), Place{m_bytes.size(), name.size()});
        m_bytes.append(name);
    }

    std::size_t Count() const { return m_names.size(); }

    // Nothing here is called `name`, in whatever case. May say no for names that only look alike.
    bool HasNoneLike(std::string_view name) const
    {
        return m_names.find(HashOf(name)) == m_names.end();
    }

    std::vector<std::string> InOtherCase(std::string_view name) const
    {
        std::vector<std::string> others;
        const auto [first, last] = m_names.equal_range(HashOf(name));
        if (first == last)
            return others;
        const std::vector<wchar_t> wanted = Folded(name);
        for (auto it = first; it != last; ++it) {
            const std::string_view candidate =
                std::string_view(m_bytes).substr(it->second.start, it->second.length);
            if (candidate != name && Folded(candidate) == wanted)
                others.emplace_back(candidate);
        }
        std::sort(others.begin(), others.end());
        return others;
    }

private:
    struct Place {
        std::size_t start;
        std::size_t length;
    };
    std::string m_bytes;
    std::unordered_multimap<std::uint64_t, Place> m_names;
};

// ---- When a folder has changed ------------------------------------------------------------

// The time of the last change of the folder's entries or attributes; unlike the time of the last
// write, nobody can set it back.
using Stamp = std::chrono::nanoseconds;

Stamp StampFrom(const timespec& time)
{
    return std::chrono::seconds(time.tv_sec) + Stamp(time.tv_nsec);
}

// What the host stamps files with, where it does not keep finer time.
Stamp TickNow()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return StampFrom(now);
}

// Whether a change after somebody asked for a stamp always gets a different one. Since Linux 6.13
// these file systems see to that; others only look at the tick.
bool StampsAreUnique(int folder)
{
    constexpr unsigned long kMajor = 6;
    constexpr unsigned long kMinor = 13;
    utsname kernel;
    if (uname(&kernel) != 0)
        return false;
    char* end;
    const unsigned long major = std::strtoul(kernel.release, &end, 10);
    const unsigned long minor = *end == '.' ? std::strtoul(end + 1, nullptr, 10) : 0;
    if (major < kMajor || (major == kMajor && minor < kMinor))
        return false;
    constexpr unsigned long kSystems[] = {EXT4_SUPER_MAGIC, TMPFS_MAGIC, BTRFS_SUPER_MAGIC,
                                          XFS_SUPER_MAGIC, OVERLAYFS_SUPER_MAGIC};
    struct statfs system;
    if (fstatfs(folder, &system) != 0)
        return false;
    // Signed where words have 32 bits.
    const auto type = static_cast<unsigned int>(system.f_type);
    return std::find(std::begin(kSystems), std::end(kSystems), type) != std::end(kSystems);
}

// Whether every change after `stamp` was read will show in a different one. Within the tick that
// gave the stamp it would not.
bool IsPast(Stamp stamp, Stamp tickBeforeReading)
{
    using namespace std::chrono_literals;
    // Storage cards count in steps of 10 ms or 2 s; their stamps are round.
    const auto margin = stamp % 1ms == 0ns ? Stamp(3s) : Stamp(0);
    return stamp + margin < tickBeforeReading;
}

// ---- What is kept -------------------------------------------------------------------------

struct KeptFolder {
    using Key = std::pair<dev_t, ino_t>;
    Key key;
    Stamp stamp;
    // Every later change shows in the stamp. What is not lasting waits for an own change to vouch
    // for it.
    bool isLasting;
    // Once own changes vouch for the names.
    std::optional<Clock::time_point> expiry;
    FoldedNames names;

    bool IsGood(const struct stat& status) const
    {
        return stamp == StampFrom(status.st_ctim) && (expiry ? Clock::now() < *expiry : isLasting);
    }
};

KeptFolder::Key KeyOf(const struct stat& status)
{
    return {status.st_dev, status.st_ino};
}

class KeptFolders {
public:
    std::mutex lock;
    // Counts the names that this program made. A listing read while one was made may lack it, and
    // must not be kept: the next name made would vouch for it.
    std::uint64_t namesMade = 0;

    // Null when nothing is kept. The folder counts as used.
    KeptFolder* Find(const struct stat& status)
    {
        const auto place = m_places.find(KeyOf(status));
        if (place == m_places.end())
            return nullptr;
        m_folders.splice(m_folders.end(), m_folders, place->second);
        return &m_folders.back();
    }

    void Drop(const struct stat& status)
    {
        const auto place = m_places.find(KeyOf(status));
        if (place != m_places.end())
            Drop(place);
    }

    // Of a folder that is not kept.
    void Keep(KeptFolder folder)
    {
        const std::size_t count = folder.names.Count();
        if (count > kMostNames)
            return;
        while (m_folders.size() >= kMostFolders || m_nameCount + count > kMostNames)
            Drop(m_places.find(m_folders.front().key));
        m_nameCount += count;
        m_folders.push_back(std::move(folder));
        m_places.emplace(m_folders.back().key, std::prev(m_folders.end()));
    }

    // An own change after which the folder's status is `after`; before, the names were those that
    // are kept, and it was `before` if that is known.
    void Note(const struct stat* before, const struct stat& after, std::string_view newName)
    {
        const std::lock_guard guard(lock);
        if (!newName.empty())
            ++namesMade;
        KeptFolder* const folder = Find(after);
        if (folder == nullptr)
            return;
        if (before != nullptr && folder->stamp != StampFrom(before->st_ctim)) {
            Drop(after);
            return;
        }
        if (!folder->expiry)
            folder->expiry = Clock::now() + kOwnChangesSuffice;
        folder->stamp = StampFrom(after.st_ctim);
        if (!newName.empty()) {
            folder->names.Add(newName);
            ++m_nameCount;
        }
    }

private:
    using Folders = std::list<KeptFolder>;
    using Places = std::map<KeptFolder::Key, Folders::iterator>;

    void Drop(Places::iterator place)
    {
        m_nameCount -= place->second->names.Count();
        m_folders.erase(place->second);
        m_places.erase(place);
    }

    // The one used last stands last.
    Folders m_folders;
    Places m_places;
    // In all folders together.
    std::size_t m_nameCount = 0;
};

KeptFolders& Kept()
{
    // Lasting: files may still be opened while the program ends.
    static KeptFolders& s_kept = MakeLasting<KeptFolders>();
    return s_kept;
}

struct Scan {
    FoldedNames names;
    // The status before the first name was read.
    struct stat status;
    // The folder did not change meanwhile, as far as its stamp tells.
    bool isWhole;
    // Later changes will show in the stamp.
    bool isLasting;
};

std::optional<Scan> ReadNames(const std::string& folder)
{
    const OpenFile open(
        OpenHostFile(folder.empty() ? "/" : folder.c_str(), O_RDONLY | O_DIRECTORY));
    if (open.descriptor < 0)
        return std::nullopt;
    Scan scan;
    const Stamp tick = TickNow();
    if (fstat(open.descriptor, &scan.status) != 0)
        return std::nullopt;

    FolderReader reader(open.descriptor);
    while (reader.NextBlock()) {
        for (std::string_view name = reader.NextName(); !name.empty(); name = reader.NextName())
            scan.names.Add(name);
    }
    const bool isRead = errno == 0;
    const Stamp stamp = StampFrom(scan.status.st_ctim);
    struct stat after;
    scan.isWhole =
        isRead && fstat(open.descriptor, &after) == 0 && StampFrom(after.st_ctim) == stamp;
    // Where time is kept in coarser steps than that, stamps are round.
    const bool stampsAreUnique =
        stamp % std::chrono::milliseconds(1) != Stamp(0) && StampsAreUnique(open.descriptor);
    scan.isLasting = stampsAreUnique || IsPast(stamp, tick);
    return scan;
}

} // namespace

std::vector<std::string> NamesInOtherCase(const std::string& folder, const struct stat& status,
                                          std::string_view name)
{
    KeptFolders& kept = Kept();
    std::uint64_t namesMade;
    {
        const std::lock_guard guard(kept.lock);
        const KeptFolder* const found = kept.Find(status);
        if (found != nullptr && found->IsGood(status))
            return found->names.InOtherCase(name);
        namesMade = kept.namesMade;
    }
    // Reading may take long, and other folders need not wait for it.
    std::optional<Scan> scan = ReadNames(folder);
    const std::lock_guard guard(kept.lock);
    kept.Drop(status);
    if (!scan)
        return {};
    std::vector<std::string> others = scan->names.InOtherCase(name);
    if (scan->isWhole && kept.namesMade == namesMade) {
        kept.Drop(scan->status);
        kept.Keep({KeyOf(scan->status), StampFrom(scan->status.st_ctim), scan->isLasting,
                   std::nullopt, std::move(scan->names)});
    }
    return others;
}

bool IsKnownToBeFree(const struct stat& folder, std::string_view name)
{
    KeptFolders& kept = Kept();
    const std::lock_guard guard(kept.lock);
    const KeptFolder* const found = kept.Find(folder);
    return found != nullptr && found->IsGood(folder) && found->names.HasNoneLike(name);
}

void NoteOwnChange(const struct stat& before, const struct stat& after, std::string_view newName)
{
    Kept().Note(&before, after, newName);
}

void NoteNewName(const std::string& hostPath)
{
    const std::size_t separator = hostPath.rfind('/');
    const std::string folder = hostPath.substr(0, std::max<std::size_t>(separator, 1));
    struct stat status;
    if (stat(folder.c_str(), &status) == 0)
        Kept().Note(nullptr, status, std::string_view(hostPath).substr(separator + 1));
}

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "xelutils/platform/posix/device_root.h"
#include "xelutils/platform/posix/entries.h"
#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/posix/file_times.h"
#include "xelutils/platform/posix/files.h"
#include "xelutils/platform/posix/folder_reader.h"
#include "xelutils/platform/posix/handles.h"
#include "xelutils/platform/posix/path_lookup.h"
#include "xelutils/platform/posix/storage_cards.h"
#include "xelutils/platform/posix/wildcards.h"

// Smaller than the device's records, for folders with very many entries.
struct Listing {
    struct Entry {
        FileTimes times;
        std::uint64_t size;
        DWORD attributes;
        std::size_t nameStart;
        std::size_t nameLength;
    };
    std::vector<Entry> entries;
    // The host's names of all entries, one behind the other.
    std::string names;
    std::atomic<std::size_t> next = 0;

    std::string_view NameOf(const Entry& entry) const
    {
        return std::string_view(names).substr(entry.nameStart, entry.nameLength);
    }
};

namespace {

constexpr std::size_t kMostNameUnits = MAX_PATH - 1;

// A name has no more units than bytes.
bool FitsRecord(std::string_view name)
{
    return name.size() <= kMostNameUnits || DeviceNameFromHost(name).size() <= kMostNameUnits;
}

bool IsSeparator(wchar_t unit)
{
    return unit == '\\' || unit == '/';
}

void Add(Listing& listing, std::string_view name, const struct statx& status, DWORD attributes)
{
    const std::uint64_t size = S_ISDIR(status.stx_mode) ? 0 : status.stx_size;
    listing.entries.push_back(
        {FileTimesOf(status), size, attributes, listing.names.size(), name.size()});
    listing.names.append(name);
}

// ---- One entry by its own name ------------------------------------------------------------

std::string_view LastComponent(std::string_view hostPath)
{
    return hostPath.substr(hostPath.rfind('/') + 1);
}

// False with the last error set.
bool ListOne(Listing& listing, const wchar_t* name)
{
    std::optional<HostEntry> entry = FindEntry(name);
    if (!entry)
        return false;
    const std::string_view component = LastComponent(entry->name);
    if (!FitsRecord(component))
        return Fail(ERROR_FILENAME_EXCED_RANGE);
    const DWORD attributes = AnswerForOwnName(*entry);
    Add(listing, LastComponent(entry->name), entry->status, attributes);
    return true;
}

// ---- All that match -----------------------------------------------------------------------

// A status made up from the type, for what can be listed but not reached.
struct statx StatusFromType(unsigned char type)
{
    struct statx status = {};
    status.stx_mode = static_cast<decltype(status.stx_mode)>(DTTOIF(type) | S_IWUSR);
    return status;
}

class Lister {
public:
    Lister(Listing& listing, const std::string& folder, const wchar_t* mask)
        : m_listing(listing), m_folder(folder), m_mask(mask), m_takesAll(MatchesEveryName(mask))
    {
    }

    // False with the last error set.
    bool Read(int descriptor)
    {
        FolderReader reader(descriptor);
        int blocks = 0;
        for (; reader.NextBlock(); ++blocks) {
            for (std::string_view name = reader.NextName(); !name.empty(); name = reader.NextName())
                Consider(descriptor, name, reader.Type());
        }
        if (errno != 0)
            return FailFromErrno(errno);
        if (blocks > 1)
            DropRepeatedNames();
        return true;
    }

private:
    void Consider(int descriptor, std::string_view name, unsigned char type)
    {
        if (m_isLiteral || !Matches(name))
            return;
        struct statx status;
        if (!ReadStatus(descriptor, name.data(), AT_SYMLINK_NOFOLLOW, status)) {
            // Gone already.
            if (errno == ENOENT)
                return;
            status = StatusFromType(type);
        }
        DWORD attributes = AttributesOf(status);
        if (MayBeMountPoint(status) && IsCardMountPoint(m_folder + '/' + std::string(name)))
            attributes |= FILE_ATTRIBUTE_TEMPORARY;
        if (m_isLiteral) {
            m_listing.entries.clear();
            m_listing.names.clear();
            HostEntry entry{m_folder + '/' + std::string(name), status};
            attributes = AnswerForOwnName(entry);
            status = entry.status;
        }
        Add(m_listing, name, status, attributes);
    }

    // Also finds out whether the mask is a name.
    bool Matches(std::string_view name)
    {
        // A name has no more units than bytes.
        if (m_takesAll && name.size() <= kMostNameUnits)
            return true;
        std::vector<wchar_t> units = DeviceNameFromHost(name);
        if (units.size() > kMostNameUnits)
            return false;
        units.push_back(0);
        if (!MatchWildcard(m_mask, units.data()))
            return false;
        m_isLiteral = IsMask(units);
        return true;
    }

    bool IsMask(const std::vector<wchar_t>& name) const
    {
        std::size_t i = 0;
        while (m_mask[i] != 0 && m_mask[i] == name[i])
            ++i;
        return m_mask[i] == name[i];
    }

    // A name that was removed and made again while the folder was read can have come twice.
    void DropRepeatedNames()
    {
        std::unordered_set<std::string_view> seen;
        seen.reserve(m_listing.entries.size());
        std::erase_if(m_listing.entries, [&](const Listing::Entry& entry) {
            return !seen.insert(m_listing.NameOf(entry)).second;
        });
    }

    Listing& m_listing;
    const std::string& m_folder;
    const wchar_t* const m_mask;
    const bool m_takesAll;
    // The mask was found as the name of an entry.
    bool m_isLiteral = false;
};

// The folder's name and a descriptor for it, which is -1 with the last error set on failure.
std::pair<std::string, int> OpenFolder(const wchar_t* name)
{
    constexpr int kFlags = O_RDONLY | O_DIRECTORY;
    const std::optional<HostPath> path = ResolveDevicePath(name);
    if (!path)
        return {{}, -1};
    std::string found = path->text;
    int descriptor = OpenHostFile(path->Name(), kFlags);
    if (descriptor < 0 && IsMissing(errno)) {
        const std::optional<std::string> other = FindWithoutCase(*path, LookFor::Folder);
        if (!other) {
            Fail(ERROR_PATH_NOT_FOUND);
            return {{}, -1};
        }
        found = *other;
        descriptor = OpenHostFile(found.c_str(), kFlags);
    }
    if (descriptor < 0)
        FailFromErrno(errno);
    return {found, descriptor};
}

// `mask` is the end of `name`. False with the last error set.
bool ListMatches(Listing& listing, const wchar_t* name, const wchar_t* mask)
{
    std::vector<wchar_t> folderName(name, mask);
    if (folderName.empty())
        folderName.push_back('.');
    folderName.push_back(0);
    const auto [folder, descriptor] = OpenFolder(folderName.data());
    if (descriptor < 0)
        return false;
    const OpenFile open(descriptor);
    if (!Lister(listing, folder, mask).Read(descriptor))
        return false;
    return !listing.entries.empty() || Fail(ERROR_FILE_NOT_FOUND);
}

void StoreName(std::string_view name, WIN32_FIND_DATAW& data)
{
    const auto isPlain = [](char byte) {
        return static_cast<signed char>(byte) > 0 && byte != '\\';
    };
    wchar_t* end;
    if (std::all_of(name.begin(), name.end(), isPlain)) {
        end = std::copy(name.begin(), name.end(), data.cFileName);
    } else {
        const std::vector<wchar_t> units = DeviceNameFromHost(name);
        end = std::copy(units.begin(), units.end(), data.cFileName);
    }
    *end = 0;
}

bool Deliver(Listing& listing, WIN32_FIND_DATAW& data)
{
    const std::size_t index = listing.next.fetch_add(1);
    if (index >= listing.entries.size()) {
        // Stays behind the end however often it is asked.
        listing.next = listing.entries.size();
        return false;
    }
    const Listing::Entry& entry = listing.entries[index];
    data.dwFileAttributes = entry.attributes;
    data.ftCreationTime = entry.times.creation;
    data.ftLastAccessTime = entry.times.lastAccess;
    data.ftLastWriteTime = entry.times.lastWrite;
    data.nFileSizeHigh = static_cast<DWORD>(entry.size >> 32);
    data.nFileSizeLow = static_cast<DWORD>(entry.size);
    data.dwOID = 0;
    StoreName(listing.NameOf(entry), data);
    return true;
}

} // namespace

HANDLE FindFirstFileW(const wchar_t* name, WIN32_FIND_DATAW* data)
{
    if (name == nullptr || data == nullptr) {
        Fail(name == nullptr ? ERROR_PATH_NOT_FOUND : ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    const wchar_t* lastComponent = name;
    for (const wchar_t* unit = name; *unit != 0; ++unit) {
        if (IsSeparator(*unit))
            lastComponent = unit + 1;
    }
    auto listing = std::make_shared<Listing>();
    const bool found = HasWildcard(lastComponent) ? ListMatches(*listing, name, lastComponent)
                                                  : ListOne(*listing, name);
    if (!found)
        return INVALID_HANDLE_VALUE;
    Deliver(*listing, *data);
    return MakeHandle(std::move(listing));
}

BOOL FindNextFileW(HANDLE handle, WIN32_FIND_DATAW* data)
{
    const std::shared_ptr<Listing> listing = LookUpListing(handle);
    if (!listing)
        return FALSE;
    if (data == nullptr)
        return Fail(ERROR_INVALID_PARAMETER);
    return Deliver(*listing, *data) ? TRUE : Fail(ERROR_NO_MORE_FILES);
}

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "xelutils/platform/posix/copy_content.h"
#include "xelutils/platform/posix/entries.h"
#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/posix/files.h"
#include "xelutils/platform/posix/folder_names.h"
#include "xelutils/platform/posix/handles.h"
#include "xelutils/platform/posix/path_lookup.h"

namespace {

std::string FolderOf(const std::string& hostPath)
{
    return hostPath.substr(0, hostPath.rfind('/') + 1);
}

// What a link holds; empty with errno set on failure.
std::string LinkText(const std::string& link)
{
    char text[PATH_MAX];
    const ssize_t length = readlink(link.c_str(), text, sizeof text);
    return std::string(text, length > 0 ? static_cast<std::size_t>(length) : 0);
}

// ---- What must not be replaced ------------------------------------------------------------

// Whether following `link` step by step comes by `entry`: put in its place, a copy of the link
// would lead to itself.
bool LeadsThrough(std::string link, const struct statx& entry)
{
    constexpr int kMostSteps = 40;
    for (int step = 0; step < kMostSteps; ++step) {
        const std::string text = LinkText(link);
        if (text.empty())
            return false;
        link = text[0] == '/' ? text : FolderOf(link) + text;
        struct statx status;
        if (!ReadStatus(AT_FDCWD, link.c_str(), AT_SYMLINK_NOFOLLOW, status))
            return false;
        if (SameFile(status, entry))
            return true;
    }
    return false;
}

bool IsSourceItself(const HostEntry& source, const HostEntry& target)
{
    if (SameFile(source.status, target.status))
        return true;
    if (source.IsLink())
        return LeadsThrough(source.name, target.status);
    struct statx behindLink;
    return target.IsLink() && ReadStatus(AT_FDCWD, target.name.c_str(), 0, behindLink) &&
           SameFile(source.status, behindLink);
}

// ERROR_SUCCESS when the copy may take the place of `target`.
DWORD WhyNotReplace(const HostEntry& source, const HostEntry& target, BOOL failIfExists)
{
    if (failIfExists)
        return ERROR_FILE_EXISTS;
    if (IsSourceItself(source, target))
        return ERROR_SHARING_VIOLATION;
    if (target.IsLink())
        return ERROR_SUCCESS;
    return target.IsRegular() && !IsReadOnly(target.status) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

// ---- The copy, before it has its name -----------------------------------------------------

// Takes a name beside the target that nobody else has, and removes what has that name in the end,
// unless it was given the target's name.
class TemporaryName {
public:
    explicit TemporaryName(const std::string& target) : m_folder(FolderOf(target)) { Next(); }
    ~TemporaryName()
    {
        if (m_exists)
            unlink(m_name.c_str());
    }
    TemporaryName(const TemporaryName&) = delete;
    TemporaryName& operator=(const TemporaryName&) = delete;

    // Calls `make` with names until one is free. False with errno set.
    template <typename MakeName> bool Make(MakeName make)
    {
        while (!make(m_name.c_str())) {
            if (errno != EEXIST)
                return false;
            Next();
        }
        return m_exists = true;
    }

    const char* Name() const { return m_name.c_str(); }

    // In one step. False with errno set.
    bool MoveTo(const std::string& target, bool replaces)
    {
        if (replaces)
            m_exists = rename(Name(), target.c_str()) != 0;
        else if (renameat2(AT_FDCWD, Name(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
            m_exists = false;
        else if (errno == EINVAL || errno == ENOSYS)
            // Leaves a second name, which the destructor removes.
            return link(Name(), target.c_str()) == 0;
        return !m_exists;
    }

private:
    void Next()
    {
        // Begins elsewhere in each program, so that they seldom meet.
        static std::atomic<long long> s_number =
            std::chrono::system_clock::now().time_since_epoch().count();
        m_name = m_folder + ".copy-" + std::to_string(++s_number);
    }

    const std::string m_folder;
    std::string m_name;
    bool m_exists = false;
};

// `from` is a descriptor with the status of `source`.
bool CopyRegular(const HostEntry& source, int from, TemporaryName& copy)
{
    constexpr unsigned kPermissions = 0777;
    constexpr mode_t kOwnerOnly = 0600;
    const struct statx& status = source.status;
    int descriptor = -1;
    const auto make = [&descriptor](const char* name) {
        descriptor = OpenHostFile(name, O_WRONLY | O_CREAT | O_EXCL, kOwnerOnly);
        return descriptor >= 0;
    };
    if (!copy.Make(make))
        return FailFromErrno(errno);
    int error = CopyContent(from, status, descriptor);
    const timespec times[] = {{0, UTIME_OMIT}, {status.stx_mtime.tv_sec, status.stx_mtime.tv_nsec}};
    // Some file systems keep no permissions; what they can keep is kept.
    (void)fchmod(descriptor, status.stx_mode & kPermissions);
    if (error == 0 && futimens(descriptor, times) != 0)
        error = errno;
    // Some tell of a full disk only now.
    if (close(descriptor) != 0 && error == 0)
        error = errno;
    return error == 0 || FailFromErrno(error);
}

bool CopyLink(const HostEntry& source, TemporaryName& copy)
{
    const std::string text = LinkText(source.name);
    if (text.empty())
        return FailFromErrno(errno);
    if (!copy.Make([&text](const char* name) { return symlink(text.c_str(), name) == 0; }))
        return FailFromErrno(errno);
    const statx_timestamp& written = source.status.stx_mtime;
    const timespec times[] = {{0, UTIME_OMIT}, {written.tv_sec, written.tv_nsec}};
    return utimensat(AT_FDCWD, copy.Name(), times, AT_SYMLINK_NOFOLLOW) == 0 ||
           FailFromErrno(errno);
}

// ---- The source ---------------------------------------------------------------------------

struct Source {
    HostEntry entry;
    // None for a link.
    std::unique_ptr<OpenFile> open;
};

// Opens `name`, if that is what it takes, and reads its status. False with errno set.
bool OpenSource(Source& source)
{
    const char* const name = source.entry.name.c_str();
    source.open = std::make_unique<OpenFile>(OpenHostFile(name, O_RDONLY | O_NOFOLLOW));
    if (source.open->descriptor >= 0)
        return ReadStatus(source.open->descriptor, "", AT_EMPTY_PATH, source.entry.status);
    // So says the host of a link.
    if (errno != ELOOP)
        return false;
    source.open.reset();
    return ReadStatus(AT_FDCWD, name, AT_SYMLINK_NOFOLLOW, source.entry.status);
}

// Nothing, with the last error set, for what is not copied.
std::optional<Source> FindSource(const HostPath& path)
{
    Source source{{path.Name(), {}}, nullptr};
    if (!OpenSource(source)) {
        if (!IsMissing(errno)) {
            FailFromErrno(errno);
            return std::nullopt;
        }
        EntryLookup lookup = LookUpEntry(path, LookupUse::Read);
        if (!lookup.entry) {
            Fail(lookup.error);
            return std::nullopt;
        }
        source.entry = *std::move(lookup.entry);
        if (!OpenSource(source)) {
            FailFromErrno(errno);
            return std::nullopt;
        }
    }
    if (source.open ? !source.entry.IsRegular() : !source.entry.IsLink()) {
        Fail(ERROR_ACCESS_DENIED);
        return std::nullopt;
    }
    return source;
}

} // namespace

BOOL CopyFileW(const wchar_t* existing, const wchar_t* target, BOOL failIfExists)
{
    const std::optional<HostPath> sourcePath = ResolveFileName(existing);
    const std::optional<HostPath> targetPath = sourcePath ? ResolveFileName(target) : std::nullopt;
    if (!targetPath)
        return FALSE;
    const std::optional<Source> source = FindSource(*sourcePath);
    if (!source)
        return FALSE;

    const EntryLookup old = LookUpEntry(*targetPath, LookupUse::Change);
    if (!old.entry && old.error != ERROR_FILE_NOT_FOUND)
        return Fail(old.error);
    // Held until the copy has taken the place of the old file.
    std::optional<OpenFile> replaced;
    if (old.entry) {
        const DWORD error = WhyNotReplace(source->entry, *old.entry, failIfExists);
        if (error != ERROR_SUCCESS)
            return Fail(error);
        if (old.entry->IsRegular()) {
            replaced.emplace(OpenHostFile(old.entry->name.c_str(), O_WRONLY | O_NOFOLLOW));
            if (replaced->descriptor < 0 || !LockAgainstWriters(replaced->descriptor))
                return FailFromErrno(errno);
        }
    }

    const std::string& place = old.entry ? old.entry->name : old.place;
    TemporaryName copy(place);
    if (!(source->open ? CopyRegular(source->entry, source->open->descriptor, copy)
                       : CopyLink(source->entry, copy)))
        return FALSE;
    if (!copy.MoveTo(place, !failIfExists))
        return FailFromErrno(errno);
    if (!old.entry)
        NoteNewName(place);
    return TRUE;
}

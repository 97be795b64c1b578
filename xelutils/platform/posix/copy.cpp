#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <utility>

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

// ---- The source ---------------------------------------------------------------------------

struct Source {
    HostEntry entry;
    // None for a link.
    std::optional<OpenFile> open;
    // Of the open file.
    struct stat status;
};

bool IsSame(const struct statx& first, const struct stat& second)
{
    return first.stx_ino == second.st_ino && first.stx_dev_major == major(second.st_dev) &&
           first.stx_dev_minor == minor(second.st_dev);
}

// Looks at the source, and opens it if it is a file: opening alone makes some devices act. False
// with errno set.
bool OpenSource(Source& source)
{
    struct statx& status = source.entry.status;
    const char* const name = source.entry.name.c_str();
    source.open.reset();
    if (!ReadStatus(AT_FDCWD, name, AT_SYMLINK_NOFOLLOW, status))
        return false;
    if (!source.entry.IsRegular())
        return true;
    source.open.emplace(OpenHostFile(name, O_RDONLY | O_NOFOLLOW));
    const int file = source.open->descriptor;
    if (file < 0 || fstat(file, &source.status) != 0)
        return false;
    // Another file may have got the name.
    return IsSame(status, source.status) || ReadStatus(file, "", AT_EMPTY_PATH, status);
}

// False, with the last error set, for what is not copied.
bool FindSource(const HostPath& path, Source& source)
{
    source.entry.name = path.Name();
    if (!OpenSource(source)) {
        if (!IsMissing(errno))
            return FailFromErrno(errno);
        EntryLookup lookup = LookUpEntry(path, LookupUse::Read);
        if (!lookup.entry)
            return Fail(lookup.error);
        source.entry = *std::move(lookup.entry);
        if (!OpenSource(source))
            return FailFromErrno(errno);
    }
    const bool isCopied = source.open ? source.entry.IsRegular() : source.entry.IsLink();
    return isCopied || Fail(ERROR_ACCESS_DENIED);
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

// Whether the copy may take the place of `target`; false with the last error set. A file is then
// opened, and locked against other writers.
bool MayReplace(const HostEntry& source, const HostEntry& target, BOOL failIfExists,
                std::optional<OpenFile>& replaced)
{
    const DWORD error = WhyNotReplace(source, target, failIfExists);
    if (error != ERROR_SUCCESS)
        return Fail(error);
    if (!target.IsRegular())
        return true;
    replaced.emplace(OpenHostFile(target.name.c_str(), O_WRONLY | O_NOFOLLOW));
    const int file = replaced->descriptor;
    return (file >= 0 && LockAgainstWriters(file)) || FailFromErrno(errno);
}

// ---- Where the copy goes ------------------------------------------------------------------

// A name in a folder. All that is done goes to the folder that was opened, also when that gets
// another name meanwhile.
struct Target {
    // Absolute.
    std::string path;
    std::optional<OpenFile> folder;
    struct stat folderBefore;
    // What has the name now.
    std::optional<HostEntry> old;

    const char* Name() const { return path.c_str() + path.rfind('/') + 1; }
    int Folder() const { return folder->descriptor; }
};

// False with errno set.
bool OpenFolder(Target& target)
{
    target.folder.emplace(OpenHostFile(FolderOf(target.path).c_str(), O_PATH | O_DIRECTORY));
    return target.Folder() >= 0 && fstat(target.Folder(), &target.folderBefore) == 0;
}

// False with the last error set. `mayAskKeptNames` spares the look for the name where the folder's
// names are known.
bool FindTarget(const HostPath& path, bool mayAskKeptNames, Target& target)
{
    target.path = path.text;
    if (mayAskKeptNames && path.text.size() > path.baseLength && OpenFolder(target) &&
        IsKnownToBeFree(target.folderBefore, target.Name()))
        return true;
    EntryLookup lookup = LookUpEntry(path, LookupUse::Change);
    if (!lookup.entry && lookup.error != ERROR_FILE_NOT_FOUND)
        return Fail(lookup.error);
    target.old = std::move(lookup.entry);
    target.path = target.old ? target.old->name : lookup.place;
    return OpenFolder(target) || FailFromErrno(errno);
}

// The names in the folder are known as well as before, and the new one too.
void NoteCopy(const Target& target)
{
    struct stat after;
    if (fstat(target.Folder(), &after) == 0)
        NoteOwnChange(target.folderBefore, after, target.old ? "" : target.Name());
}

// ---- The copy, before it has its name -----------------------------------------------------
//
// What returns an int here returns 0 or the host's error.

// Takes a name beside the target that nobody else has, and removes what has that name in the end,
// unless it was given the target's name.
class TemporaryName {
public:
    explicit TemporaryName(int folder) : m_folder(folder) { Next(); }
    ~TemporaryName()
    {
        if (m_exists)
            unlinkat(m_folder, Name(), 0);
    }
    TemporaryName(const TemporaryName&) = delete;
    TemporaryName& operator=(const TemporaryName&) = delete;

    // Calls `make` with names until one is free. False with errno set.
    template <typename MakeName> bool Make(MakeName make)
    {
        while (!make(m_folder, Name())) {
            if (errno != EEXIST)
                return false;
            Next();
        }
        return m_exists = true;
    }

    int Folder() const { return m_folder; }
    const char* Name() const { return m_name.c_str(); }

    // In one step; EEXIST when something has the name that is not to be replaced.
    int MoveTo(const char* target, bool replaces)
    {
        const unsigned flags = replaces ? 0 : RENAME_NOREPLACE;
        m_exists = renameat2(m_folder, Name(), m_folder, target, flags) != 0;
        if (m_exists && !replaces && (errno == EINVAL || errno == ENOSYS))
            // Leaves a second name, which the destructor removes.
            return linkat(m_folder, Name(), m_folder, target, 0) == 0 ? 0 : errno;
        return m_exists ? errno : 0;
    }

private:
    void Next()
    {
        // Begins elsewhere in each program, so that they seldom meet.
        static std::atomic<unsigned long> s_number =
            static_cast<unsigned long>(std::chrono::system_clock::now().time_since_epoch().count());
        m_name = ".copy-" + std::to_string(++s_number);
    }

    const int m_folder;
    std::string m_name;
    bool m_exists = false;
};

mode_t PermissionsOf(const struct stat& source)
{
    constexpr unsigned kPermissions = 0777;
    return source.st_mode & kPermissions;
}

// All but the name, into the empty file `copy`.
int Fill(const Source& source, int copy)
{
    constexpr unsigned kAllBits = 07777;
    // An attempt before this one may have read from it.
    if (lseek(source.open->descriptor, 0, SEEK_SET) < 0)
        return errno;
    if (const int error = CopyContent(source.open->descriptor, source.status, copy))
        return error;
    struct stat made;
    const mode_t wanted = PermissionsOf(source.status);
    // Some file systems keep no permissions; what they can keep is kept.
    if (fstat(copy, &made) != 0 || (made.st_mode & kAllBits) != wanted)
        (void)fchmod(copy, wanted);
    const timespec times[] = {{0, UTIME_OMIT}, source.status.st_mtim};
    return futimens(copy, times) == 0 ? 0 : errno;
}

// Gives its first name to a file that has none. False with errno set.
bool GiveName(int file, int folder, const char* name)
{
    if (linkat(file, "", folder, name, AT_EMPTY_PATH) == 0)
        return true;
    if (errno == EEXIST)
        return false;
    // Before Linux 6.10 only the privileged may do that.
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    return linkat(AT_FDCWD, link.c_str(), folder, name, AT_SYMLINK_FOLLOW) == 0;
}

constexpr int kNeedsName = EOPNOTSUPP;

// The copy has no name before it is complete: a program that is killed leaves nothing behind.
// kNeedsName where that cannot be done, EEXIST when somebody else was faster.
int CopyWithoutName(const Source& source, const Target& target)
{
    const int copy =
        OpenHostFileIn(target.Folder(), ".", O_WRONLY | O_TMPFILE, PermissionsOf(source.status));
    if (copy < 0)
        return kNeedsName;
    int error = Fill(source, copy);
    const bool isNamed = error == 0 && GiveName(copy, target.Folder(), target.Name());
    if (error == 0 && !isNamed)
        error = errno == EEXIST ? EEXIST : kNeedsName;
    // Some tell of a full disk only now.
    if (close(copy) != 0 && isNamed) {
        error = errno;
        unlinkat(target.Folder(), target.Name(), 0);
    }
    return error;
}

int CopyRegular(const Source& source, TemporaryName& copy)
{
    constexpr mode_t kOwnerOnly = 0600;
    int descriptor = -1;
    const auto make = [&descriptor](int folder, const char* name) {
        descriptor = OpenHostFileIn(folder, name, O_WRONLY | O_CREAT | O_EXCL, kOwnerOnly);
        return descriptor >= 0;
    };
    if (!copy.Make(make))
        return errno;
    const int error = Fill(source, descriptor);
    const bool isClosed = close(descriptor) == 0;
    return error == 0 && !isClosed ? errno : error;
}

int CopyLink(const Source& source, TemporaryName& copy)
{
    const std::string text = LinkText(source.entry.name);
    const auto make = [&text](int folder, const char* name) {
        return symlinkat(text.c_str(), folder, name) == 0;
    };
    if (text.empty() || !copy.Make(make))
        return errno;
    const statx_timestamp& written = source.entry.status.stx_mtime;
    const timespec times[] = {{0, UTIME_OMIT},
                              {written.tv_sec, static_cast<long>(written.tv_nsec)}};
    return utimensat(copy.Folder(), copy.Name(), times, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

int Copy(const Source& source, const Target& target)
{
    if (source.open && !target.old) {
        const int error = CopyWithoutName(source, target);
        if (error != kNeedsName)
            return error;
    }
    TemporaryName copy(target.Folder());
    if (const int error = source.open ? CopyRegular(source, copy) : CopyLink(source, copy))
        return error;
    return copy.MoveTo(target.Name(), target.old.has_value());
}

} // namespace

BOOL CopyFileW(const wchar_t* existing, const wchar_t* target, BOOL failIfExists)
{
    constexpr int kMostAttempts = 4;
    const std::optional<HostPath> sourcePath = ResolveFileName(existing);
    const std::optional<HostPath> targetPath = sourcePath ? ResolveFileName(target) : std::nullopt;
    Source source;
    if (!targetPath || !FindSource(*sourcePath, source))
        return FALSE;
    for (int attempt = 1;; ++attempt) {
        Target place;
        if (!FindTarget(*targetPath, attempt == 1, place))
            return FALSE;
        // Held until the copy has taken the place of the old file.
        std::optional<OpenFile> replaced;
        if (place.old && !MayReplace(source.entry, *place.old, failIfExists, replaced))
            return FALSE;
        const int error = Copy(source, place);
        if (error == 0) {
            NoteCopy(place);
            return TRUE;
        }
        // Something may have got the name meanwhile. It is there to be looked at, then.
        if (error != EEXIST || failIfExists || attempt == kMostAttempts)
            return FailFromErrno(error);
    }
}

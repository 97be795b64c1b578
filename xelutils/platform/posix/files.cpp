#include "xelutils/platform/posix/files.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "xelutils/platform/posix/device_root.h"
#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/posix/folder_names.h"
#include "xelutils/platform/posix/path_lookup.h"
#include "xelutils/platform/posix/storage_cards.h"

static_assert(sizeof(off_t) == 8, "files may be large: compile with -D_FILE_OFFSET_BITS=64");

namespace {

// What a creation disposition asks for.
struct Disposition {
    bool createsMissing;
    bool refusesExisting;
    bool truncates;
};

std::optional<Disposition> DispositionOf(DWORD creation)
{
    switch (creation) {
    case CREATE_NEW:
        return Disposition{true, true, false};
    case CREATE_ALWAYS:
        return Disposition{true, false, true};
    case OPEN_EXISTING:
        return Disposition{false, false, false};
    case OPEN_ALWAYS:
        return Disposition{true, false, false};
    case TRUNCATE_EXISTING:
        return Disposition{false, false, true};
    default:
        return std::nullopt;
    }
}

// -1 with errno set. What is no regular file is not opened, only looked at: opening alone makes
// some devices act.
int OpenRegularFile(const char* name, int accessMode)
{
    struct stat status;
    if (stat(name, &status) != 0)
        return -1;
    if (S_ISREG(status.st_mode))
        return OpenHostFile(name, accessMode);
    errno = EACCES;
    return -1;
}

// Finds the file, or the place for a new one, and opens it. -1 with the last error set. Never
// truncates: the lock comes first.
int OpenOrCreate(const HostPath& path, int accessMode, const Disposition& disposition, bool& isNew)
{
    int descriptor = OpenRegularFile(path.Name(), accessMode);
    if (descriptor < 0 && IsMissing(errno)) {
        const bool changes = disposition.createsMissing || disposition.truncates;
        const FoundOrPlace other = FindOrPlaceWithoutCase(
            path, LookFor::Target, changes ? LookupUse::Change : LookupUse::Read);
        if (other.found) {
            descriptor = OpenRegularFile(other.found->c_str(), accessMode);
        } else {
            const std::optional<std::string>& place = other.place;
            if (!place || !disposition.createsMissing) {
                Fail(place ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND);
                return -1;
            }
            const int exclusive = disposition.refusesExisting ? O_EXCL : 0;
            descriptor = OpenHostFile(place->c_str(), accessMode | O_CREAT | exclusive);
            isNew = descriptor >= 0;
            if (isNew)
                NoteNewName(*place);
            else
                FailFromErrno(errno);
            return descriptor;
        }
    }
    if (descriptor < 0) {
        FailFromErrno(errno);
        return -1;
    }
    if (disposition.refusesExisting) {
        close(descriptor);
        Fail(ERROR_FILE_EXISTS);
        return -1;
    }
    return descriptor;
}

} // namespace

int ClearOfStandardStreams(int descriptor)
{
    constexpr int kFirstFree = STDERR_FILENO + 1;
    if (descriptor < 0 || descriptor >= kFirstFree)
        return descriptor;
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, kFirstFree);
    const int error = errno;
    close(descriptor);
    errno = error;
    return moved;
}

int OpenHostFile(const char* name, int flags, mode_t mode)
{
    return OpenHostFileIn(AT_FDCWD, name, flags, mode);
}

int OpenHostFileIn(int folder, const char* name, int flags, mode_t mode)
{
    constexpr int kAlways = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    int descriptor;
    do {
        descriptor = openat(folder, name, flags | kAlways, mode);
    } while (descriptor < 0 && errno == EINTR);
    return ClearOfStandardStreams(descriptor);
}

bool LockAgainstWriters(int descriptor)
{
    int result;
    do {
        result = flock(descriptor, LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    // File systems without locks are written to all the same.
    return result == 0 || errno != EWOULDBLOCK;
}

OpenedFile OpenDeviceFile(const wchar_t* name, DWORD access, DWORD share, DWORD creation)
{
    const std::optional<Disposition> disposition = DispositionOf(creation);
    const bool writes = (access & GENERIC_WRITE) != 0;
    const bool reads = (access & GENERIC_READ) != 0;
    if (!disposition || (access & ~(GENERIC_READ | GENERIC_WRITE)) != 0 || (!reads && !writes) ||
        (disposition->truncates && !writes)) {
        Fail(ERROR_INVALID_PARAMETER);
        return {};
    }
    const std::optional<HostPath> path = ResolveDevicePath(name);
    if (!path)
        return {};
    if (path->endsInSeparator) {
        // The name of a folder, whatever stands there.
        Fail(ERROR_PATH_NOT_FOUND);
        return {};
    }

    const int accessMode = !writes ? O_RDONLY : reads ? O_RDWR : O_WRONLY;
    bool isNew = false;
    const int descriptor = OpenOrCreate(*path, accessMode, *disposition, isNew);
    if (descriptor < 0)
        return {};
    OpenedFile opened{std::make_shared<OpenFile>(descriptor)};
    opened.file->writable = writes;

    struct stat status;
    if (fstat(descriptor, &status) != 0) {
        FailFromErrno(errno);
        return {};
    }
    if (!S_ISREG(status.st_mode)) {
        Fail(ERROR_ACCESS_DENIED);
        return {};
    }
    if (writes && (share & FILE_SHARE_WRITE) == 0 && !LockAgainstWriters(descriptor)) {
        FailFromErrno(errno);
        return {};
    }
    if (disposition->truncates && ftruncate(descriptor, 0) != 0) {
        FailFromErrno(errno);
        return {};
    }
    opened.size = disposition->truncates ? 0 : static_cast<std::uint64_t>(status.st_size);
    if (disposition->createsMissing && !disposition->refusesExisting)
        SetLastError(isNew ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS);
    return opened;
}

HANDLE CreateFileW(const wchar_t* name, DWORD access, DWORD share, void* /*security*/,
                   DWORD creation, DWORD /*attributes*/, HANDLE /*templateFile*/)
{
    if (std::optional<Volume> volume = FindVolume(name)) {
        if (access == GENERIC_READ && creation == OPEN_EXISTING)
            return MakeHandle(std::make_shared<const Volume>(*std::move(volume)));
        Fail(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    OpenedFile opened = OpenDeviceFile(name, access, share, creation);
    if (!opened.file)
        return INVALID_HANDLE_VALUE;
    return MakeHandle({HandleKind::File, std::move(opened.file), 0});
}

DWORD GetFileSize(HANDLE file, DWORD* high)
{
    constexpr unsigned kBitsOfLowPart = 32;
    const HandleTarget target = LookUpHandle(file);
    if (!target.file)
        return INVALID_FILE_SIZE;
    if (target.kind == HandleKind::Mapping) {
        Fail(ERROR_INVALID_HANDLE);
        return INVALID_FILE_SIZE;
    }
    std::uint64_t size = target.size;
    if (target.kind == HandleKind::File) {
        struct stat status;
        if (fstat(target.file->descriptor, &status) != 0) {
            FailFromErrno(errno);
            return INVALID_FILE_SIZE;
        }
        size = static_cast<std::uint64_t>(status.st_size);
    }
    if (high != nullptr)
        *high = static_cast<DWORD>(size >> kBitsOfLowPart);
    return static_cast<DWORD>(size);
}

BOOL WriteFile(HANDLE file, const void* data, DWORD size, DWORD* written, void* /*overlapped*/)
{
    DWORD unused;
    DWORD& done = written != nullptr ? *written : unused;
    done = 0;
    const HandleTarget target = LookUpHandle(file);
    if (!target.file)
        return FALSE;
    if (target.kind == HandleKind::Mapping)
        return Fail(ERROR_INVALID_HANDLE);
    if (!target.file->writable)
        return Fail(ERROR_ACCESS_DENIED);
    const auto* const bytes = static_cast<const unsigned char*>(data);
    while (done < size) {
        const ssize_t count = write(target.file->descriptor, bytes + done, size - done);
        if (count > 0)
            done += static_cast<DWORD>(count);
        else if (count == 0)
            return Fail(ERROR_WRITE_FAULT);
        else if (errno != EINTR)
            return FailFromErrno(errno);
    }
    return TRUE;
}

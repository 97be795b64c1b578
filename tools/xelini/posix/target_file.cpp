#include "tools/xelini/target_file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/xelini/failure.h"
#include "tools/xelini/posix/descriptor.h"

namespace xelini {

namespace {

constexpr int kLockAttempts = 500;
constexpr useconds_t kLockPauseMicroseconds = 10'000;

// A file system that knows no locks, or not on a file opened for reading, works without them.
bool lock(int descriptor)
{
    for (int attempt = 0; attempt < kLockAttempts; ++attempt) {
        if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK)
            return true;
        ::usleep(kLockPauseMicroseconds);
    }
    return false;
}

mode_t defaultMode()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

// Empty with errno set when there is no such file.
std::string resolved(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                           &std::free);
    return real ? real.get() : std::string();
}

bool isLink(const std::string& path)
{
    struct stat info;
    return ::lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode);
}

// Unless `mayReplace`, a file that has appeared at `to` makes it fail with EEXIST.
bool renameOver(const std::string& from, const std::string& to, bool mayReplace)
{
    if (mayReplace)
        return ::rename(from.c_str(), to.c_str()) == 0;
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    // The file system cannot say "unless it exists"; looking first is the best that is left.
    if (::access(to.c_str(), F_OK) == 0) {
        errno = EEXIST;
        return false;
    }
    return ::rename(from.c_str(), to.c_str()) == 0;
}

} // namespace

void TargetFile::findTarget()
{
    const std::string real = resolved(m_path);
    m_exists = !real.empty();
    if (m_exists)
        m_path = real;
    else if (errno != ENOENT)
        throw failedFile(m_name, "cannot be opened", errno);
    else if (isLink(m_path))
        throw failedFile(m_name, "is a link that leads nowhere");
}

void TargetFile::openHeld()
{
    // A rename by another program may come between opening and locking: then the lock is on a
    // file that nobody sees any more. And whoever had the lock before may have written: then its
    // state is to be taken anew.
    FileState now;
    do {
        // Without waiting for the other end, should this be a pipe.
        m_file = HostFile(::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        if (!m_file.isOpen() || !findState(m_file.number(), m_state))
            throw failedFile(m_name, "cannot be opened", errno);
        refuseOthersThanFiles();
        if (!lock(descriptorOf(m_file.number())))
            throw failedFile(m_name, "is being written by another program; try again later");
    } while (findState(m_path, now) && now != m_state);
    // Replacing asks for rights on the folder only; a write-protected file is meant to stay.
    if (::faccessat(AT_FDCWD, m_path.c_str(), W_OK, AT_EACCESS) != 0)
        throw failedFile(m_name, "cannot be written", errno);
}

std::string TargetFile::folder() const
{
    const std::size_t separator = m_path.rfind('/');
    return separator == std::string::npos ? "./" : m_path.substr(0, separator + 1);
}

void TargetFile::writeBeside(TemporaryFile& file, std::string_view bytes) const
{
    if (!writeAll(file.file().number(), bytes))
        throw failedFile(m_name, "cannot be written", errno);
    takeOwnerAndRights(file);
    if (::fsync(descriptorOf(file.file().number())) != 0)
        throw failedFile(m_name, "cannot be written", errno);
}

void TargetFile::takeOwnerAndRights(const TemporaryFile& file) const
{
    const int descriptor = descriptorOf(file.file().number());
    struct stat written;
    if (::fstat(descriptor, &written) != 0)
        throw failedFile(m_name, "cannot be written", errno);
    if (!m_exists) {
        // A file system that gives all files one mode refuses others; its own is right then.
        if (::fchmod(descriptor, defaultMode()) != 0 && errno != EPERM)
            throw failedFile(m_name, "cannot be written", errno);
        return;
    }
    struct stat old;
    if (::fstat(descriptorOf(m_file.number()), &old) != 0)
        throw failedFile(m_name, "cannot be opened", errno);
    const bool sameOwner = written.st_uid == old.st_uid && written.st_gid == old.st_gid;
    if (!sameOwner && ::fchown(descriptor, old.st_uid, old.st_gid) != 0)
        throw failedFile(m_name, "cannot be replaced, since its owner and group would change",
                         errno);
    // After the owner, whose change takes the set-id bits away.
    if (written.st_mode != old.st_mode && ::fchmod(descriptor, old.st_mode & 07777) != 0)
        throw failedFile(m_name, "cannot be replaced, since its mode would change", errno);
}

void TargetFile::takePlace(const TemporaryFile& file)
{
    refuseIfChanged();
    const HostFile directory(::open(folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!renameOver(file.path(), m_path, m_exists))
        throw failedFile(m_name, "cannot be written", errno);
    // A folder that may not be read cannot be flushed, and some file systems flush no folders.
    if (directory.isOpen() && ::fsync(descriptorOf(directory.number())) != 0 && errno != EINVAL)
        throw failedFile(m_name, "is written, but its folder cannot be flushed to the disk", errno);
}

} // namespace xelini

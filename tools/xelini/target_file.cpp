#include "tools/xelini/target_file.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <unistd.h>

#include "tools/xelini/failure.h"
#include "tools/xelini/temporary_file.h"

namespace xelini {

namespace {

constexpr int kLockAttempts = 500;
constexpr useconds_t kLockPauseMicroseconds = 10'000;

bool sameTime(const timespec& first, const timespec& second)
{
    return first.tv_sec == second.tv_sec && first.tv_nsec == second.tv_nsec;
}

bool sameFile(const struct stat& first, const struct stat& second)
{
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

// The change time catches a writer that sets the modification time back.
bool unchanged(const struct stat& before, const struct stat& now)
{
    return sameFile(before, now) && before.st_size == now.st_size &&
           sameTime(before.st_mtim, now.st_mtim) && sameTime(before.st_ctim, now.st_ctim);
}

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

} // namespace

TargetFile::TargetFile(const std::string& path)
    : m_name(path), m_path(path), m_isStandardOutput(path == "-")
{
    if (m_isStandardOutput)
        return;
    const std::string real = resolved(path);
    if (!real.empty()) {
        m_path = real;
        openLocked();
    } else if (errno != ENOENT) {
        throw failedFile(m_name, "cannot be opened", errno);
    } else if (isLink(path)) {
        throw failedFile(m_name, "is a link that leads nowhere");
    }
}

void TargetFile::openLocked()
{
    // A rename by another program may come between opening and locking: then the lock is on a
    // file that nobody sees any more.
    do {
        // Without waiting for the other end, should this be a pipe.
        m_file = FileDescriptor(::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        if (!m_file.isOpen() || ::fstat(m_file.number(), &m_state) != 0)
            throw failedFile(m_name, "cannot be opened", errno);
        if (S_ISDIR(m_state.st_mode))
            throw failedFile(m_name, "cannot be written", EISDIR);
        if (!S_ISREG(m_state.st_mode))
            throw failedFile(m_name, "cannot be written: not a regular file");
        if (!lock(m_file.number()))
            throw failedFile(m_name, "is being written by another program; try again later");
    } while (!isStillTheFile());
    // Replacing asks for rights on the folder only; a write-protected file is meant to stay.
    if (::faccessat(AT_FDCWD, m_path.c_str(), W_OK, AT_EACCESS) != 0)
        throw failedFile(m_name, "cannot be written", errno);
}

// Whoever had the lock before may have written: then its state is to be taken anew.
bool TargetFile::isStillTheFile() const
{
    struct stat now;
    return ::stat(m_path.c_str(), &now) != 0 || unchanged(m_state, now);
}

bool TargetFile::isSameFileAs(const std::string& path) const
{
    struct stat info;
    return exists() && ::stat(path.c_str(), &info) == 0 && sameFile(m_state, info);
}

bool TargetFile::holds(std::string_view bytes) const
{
    std::string content;
    if (!exists() || static_cast<std::size_t>(m_state.st_size) != bytes.size())
        return false;
    return ::lseek(m_file.number(), 0, SEEK_SET) == 0 && readAll(m_file.number(), content) &&
           content == bytes;
}

void TargetFile::replace(std::string_view bytes, const Check& check) const
{
    if (m_isStandardOutput)
        return print(bytes, check);
    if (holds(bytes))
        return;
    TemporaryFile temporary(folder());
    if (!temporary.file().isOpen())
        throw failedFile(m_name, "cannot write a new file in its folder", errno);
    writeBeside(temporary.file().number(), bytes);
    check(temporary.file());
    takePlace(temporary.path());
    temporary.keep();
}

void TargetFile::print(std::string_view bytes, const Check& check) const
{
    const FileDescriptor copy = makeMemoryFile(bytes);
    if (!copy.isOpen())
        throw failedFile("standard output", "cannot be prepared", errno);
    check(copy);
    if (!writeAll(STDOUT_FILENO, bytes))
        throw failedFile("standard output", "cannot be written", errno);
}

std::string TargetFile::folder() const
{
    const std::size_t separator = m_path.rfind('/');
    if (separator == std::string::npos)
        return ".";
    return separator == 0 ? "/" : m_path.substr(0, separator);
}

void TargetFile::writeBeside(int descriptor, std::string_view bytes) const
{
    if (!writeAll(descriptor, bytes))
        throw failedFile(m_name, "cannot be written", errno);
    takeOwnerAndMode(descriptor);
    if (::fsync(descriptor) != 0)
        throw failedFile(m_name, "cannot be written", errno);
}

void TargetFile::takeOwnerAndMode(int descriptor) const
{
    struct stat written;
    if (::fstat(descriptor, &written) != 0)
        throw failedFile(m_name, "cannot be written", errno);
    if (!exists()) {
        // A file system that gives all files one mode refuses others; its own is right then.
        if (::fchmod(descriptor, defaultMode()) != 0 && errno != EPERM)
            throw failedFile(m_name, "cannot be written", errno);
        return;
    }
    const bool sameOwner = written.st_uid == m_state.st_uid && written.st_gid == m_state.st_gid;
    if (!sameOwner && ::fchown(descriptor, m_state.st_uid, m_state.st_gid) != 0)
        throw failedFile(m_name, "cannot be replaced, since its owner and group would change",
                         errno);
    // After the owner, whose change takes the set-id bits away.
    if (written.st_mode != m_state.st_mode && ::fchmod(descriptor, m_state.st_mode & 07777) != 0)
        throw failedFile(m_name, "cannot be replaced, since its mode would change", errno);
}

void TargetFile::takePlace(const std::string& temporary) const
{
    struct stat now;
    const bool isThere = ::stat(m_path.c_str(), &now) == 0;
    if (exists() && !(isThere && unchanged(m_state, now)))
        throw failedFile(m_name, isThere ? "was changed by another program meanwhile; try again"
                                         : "was removed by another program meanwhile");
    const FileDescriptor directory(::open(folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!renameOver(temporary, m_path, exists()))
        throw failedFile(m_name, "cannot be written", errno);
    // A folder that may not be read cannot be flushed, and some file systems flush no folders.
    if (directory.isOpen() && ::fsync(directory.number()) != 0 && errno != EINVAL)
        throw failedFile(m_name, "is written, but its folder cannot be flushed to the disk", errno);
}

} // namespace xelini

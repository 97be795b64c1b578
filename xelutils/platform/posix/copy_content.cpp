#include "xelutils/platform/posix/copy_content.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr std::size_t kBufferBytes = 32 * 1024;
constexpr std::uint64_t kToTheEnd = std::numeric_limits<std::uint64_t>::max();

int WriteAll(int target, const char* bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t count = write(target, bytes, size);
        if (count < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        if (count == 0)
            return EIO;
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
    return 0;
}

// These copy from where both files stand now, at most `length` bytes.

int CopyThroughMemory(int source, int target, std::uint64_t length)
{
    char buffer[kBufferBytes];
    while (length > 0) {
        const auto wanted =
            static_cast<std::size_t>(std::min<std::uint64_t>(length, sizeof buffer));
        const ssize_t count = read(source, buffer, wanted);
        if (count == 0)
            break;
        if (count < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        if (const int error = WriteAll(target, buffer, static_cast<std::size_t>(count)))
            return error;
        length -= static_cast<std::uint64_t>(count);
    }
    return 0;
}

// Whether a host that could not copy by itself may still let the bytes be read and written.
bool IsRefusal(int error)
{
    return error == EXDEV || error == EINVAL || error == ENOSYS || error == EOPNOTSUPP ||
           error == EPERM || error == ETXTBSY;
}

int CopyWithinHost(int source, int target, std::uint64_t length)
{
    constexpr std::uint64_t kMostAtOnce = 1u << 30;
    while (length > 0) {
        const auto wanted = static_cast<std::size_t>(std::min(length, kMostAtOnce));
        const ssize_t count = copy_file_range(source, nullptr, target, nullptr, wanted, 0);
        if (count > 0) {
            length -= static_cast<std::uint64_t>(count);
        } else if (count == 0 || IsRefusal(errno)) {
            // Some files, as those that the kernel makes up, have bytes to read but none here.
            return CopyThroughMemory(source, target, length);
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

// The whole of what has `size` bytes, holes included.
int CopyWithHoles(int source, int target, off_t size)
{
    off_t position = 0;
    while (position < size) {
        const off_t data = lseek(source, position, SEEK_DATA);
        if (data < 0 && errno != ENXIO)
            return errno;
        if (data < 0 || data >= size)
            break;
        const off_t hole = std::min(lseek(source, data, SEEK_HOLE), size);
        if (hole < 0 || lseek(source, data, SEEK_SET) < 0 || lseek(target, data, SEEK_SET) < 0)
            return errno;
        const auto length = static_cast<std::uint64_t>(hole - data);
        if (const int error = CopyWithinHost(source, target, length))
            return error;
        position = hole;
    }
    // Only holes are left, unless the file has shrunk.
    struct stat now;
    if (fstat(source, &now) != 0)
        return errno;
    return ftruncate(target, std::min(size, now.st_size)) == 0 ? 0 : errno;
}

// Files that the kernel makes up say that they are empty, and go on saying so when there was
// something to read; others tell then how large they have become.
int CopySeeminglyEmpty(int source, int target)
{
    if (const int error = CopyThroughMemory(source, target, kBufferBytes))
        return error;
    struct stat now;
    const off_t copied = lseek(target, 0, SEEK_CUR);
    if (copied < 0 || fstat(source, &now) != 0)
        return errno;
    if (now.st_size == 0)
        return CopyThroughMemory(source, target, copied == 0 ? 0 : kToTheEnd);
    const off_t more = std::max<off_t>(now.st_size - copied, 0);
    return CopyThroughMemory(source, target, static_cast<std::uint64_t>(more));
}

} // namespace

int CopyContent(int source, const struct stat& status, int target)
{
    constexpr off_t kBytesPerBlock = 512;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size == 0)
        return CopySeeminglyEmpty(source, target);
    if (size <= kBufferBytes)
        return CopyThroughMemory(source, target, size);
    if (ioctl(target, FICLONE, source) == 0)
        return 0;
    const bool hasHoles = status.st_blocks * kBytesPerBlock < status.st_size;
    // Some file systems do not tell where they are.
    if (hasHoles && (lseek(source, 0, SEEK_DATA) >= 0 || errno == ENXIO))
        return CopyWithHoles(source, target, status.st_size);
    return CopyWithinHost(source, target, size);
}

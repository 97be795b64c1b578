#include "xelutils/platform/posix/copy_content.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::uint64_t kToTheEnd = std::numeric_limits<std::uint64_t>::max();
constexpr std::size_t kBufferBytes = 32 * 1024;

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

int CopyWithHoles(int source, int target, off_t size)
{
    off_t position = 0;
    for (;;) {
        const off_t data = lseek(source, position, SEEK_DATA);
        if (data < 0)
            break;
        const off_t hole = lseek(source, data, SEEK_HOLE);
        if (hole < 0 || lseek(source, data, SEEK_SET) < 0 || lseek(target, data, SEEK_SET) < 0)
            return errno;
        const auto length = static_cast<std::uint64_t>(hole - data);
        if (const int error = CopyWithinHost(source, target, length))
            return error;
        position = hole;
    }
    // Only holes are left.
    if (errno == ENXIO)
        return ftruncate(target, std::max(size, position)) == 0 ? 0 : errno;
    // This file system does not tell where they are.
    return position == 0 ? CopyWithinHost(source, target, kToTheEnd) : errno;
}

// Files that the kernel makes up say that they are empty.
std::uint64_t LengthToCopy(const struct statx& status)
{
    return status.stx_size == 0 ? kToTheEnd : status.stx_size;
}

} // namespace

int CopyContent(int source, const struct statx& status, int target)
{
    constexpr std::uint64_t kBytesPerBlock = 512;
    if (status.stx_size <= kBufferBytes)
        return CopyThroughMemory(source, target, LengthToCopy(status));
    if (ioctl(target, FICLONE, source) == 0)
        return 0;
    if (status.stx_blocks * kBytesPerBlock < status.stx_size)
        return CopyWithHoles(source, target, static_cast<off_t>(status.stx_size));
    return CopyWithinHost(source, target, kToTheEnd);
}

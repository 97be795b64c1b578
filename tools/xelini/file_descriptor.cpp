#include "tools/xelini/file_descriptor.h"

#include <cerrno>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace xelini {

namespace {

constexpr std::size_t kSmallestRead = 64 * 1024;

// The size of a regular file tells how much to ask for at once; others are read in pieces.
std::size_t sizeOfFirstRead(int descriptor)
{
    struct stat info;
    if (::fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode))
        return kSmallestRead;
    // One byte more, so that the end shows without a second growth.
    return static_cast<std::size_t>(info.st_size) + 1;
}

} // namespace

FileDescriptor::~FileDescriptor()
{
    // Whoever has written has flushed before, so there is no error left to be told.
    if (isOpen())
        ::close(m_number);
}

bool readAll(int descriptor, std::string& bytes)
{
    std::size_t used = bytes.size();
    bytes.resize(used + sizeOfFirstRead(descriptor));
    for (;;) {
        if (used == bytes.size())
            bytes.resize(used + kSmallestRead + used / 2);
        const ssize_t got = ::read(descriptor, bytes.data() + used, bytes.size() - used);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) {
            bytes.resize(used);
            return got == 0;
        }
        used += static_cast<std::size_t>(got);
    }
}

bool writeAll(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

FileDescriptor makeMemoryFile(std::string_view bytes)
{
    FileDescriptor file(::memfd_create("xelini", MFD_CLOEXEC));
    if (!file.isOpen() || writeAll(file.number(), bytes))
        return file;
    return {};
}

std::string pathOf(const FileDescriptor& descriptor)
{
    return "/proc/self/fd/" + std::to_string(descriptor.number());
}

} // namespace xelini

#include "tools/xelini/host_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/xelini/posix/descriptor.h"
#include "xelutils/platform/posix/device_root.h"

namespace xelini {

namespace {

// Only compared, so it does not matter that times of other ages meet.
std::uint64_t nanoseconds(const timespec& time)
{
    constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;
    return static_cast<std::uint64_t>(time.tv_sec) * kNanosecondsPerSecond +
           static_cast<std::uint64_t>(time.tv_nsec);
}

FileState::Kind kindOf(mode_t mode)
{
    if (S_ISDIR(mode))
        return FileState::Kind::folder;
    return S_ISREG(mode) ? FileState::Kind::regular : FileState::Kind::other;
}

FileState stateFrom(const struct stat& info)
{
    return {.kind = kindOf(info.st_mode),
            .volume = info.st_dev,
            .numberOnVolume = info.st_ino,
            .size = static_cast<std::uint64_t>(info.st_size),
            .writeTime = nanoseconds(info.st_mtim),
            .changeTime = nanoseconds(info.st_ctim)};
}

} // namespace

HostFile::~HostFile()
{
    // Whoever has written has flushed before, so there is no error left to be told.
    if (isOpen())
        ::close(descriptorOf(m_number));
}

HostFile::Number numberOf(StandardStream stream)
{
    switch (stream) {
    case StandardStream::input:
        return STDIN_FILENO;
    case StandardStream::output:
        return STDOUT_FILENO;
    default:
        return STDERR_FILENO;
    }
}

HostFile openForReading(const std::string& path)
{
    return HostFile(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

bool findState(HostFile::Number file, FileState& state)
{
    struct stat info;
    if (::fstat(descriptorOf(file), &info) != 0)
        return false;
    state = stateFrom(info);
    return true;
}

bool findState(const std::string& path, FileState& state)
{
    struct stat info;
    if (::stat(path.c_str(), &info) != 0)
        return false;
    state = stateFrom(info);
    return true;
}

bool rewind(HostFile::Number file)
{
    return ::lseek(descriptorOf(file), 0, SEEK_SET) == 0;
}

std::ptrdiff_t readSome(HostFile::Number file, char* bytes, std::size_t size)
{
    ssize_t got;
    do {
        got = ::read(descriptorOf(file), bytes, size);
    } while (got < 0 && errno == EINTR);
    return got;
}

std::ptrdiff_t writeSome(HostFile::Number file, std::string_view bytes)
{
    ssize_t written;
    do {
        written = ::write(descriptorOf(file), bytes.data(), bytes.size());
    } while (written < 0 && errno == EINTR);
    return written;
}

HostFile makeMemoryFile(std::string_view bytes)
{
    HostFile file(::memfd_create("xelini", MFD_CLOEXEC));
    if (!file.isOpen() || writeAll(file.number(), bytes))
        return file;
    return {};
}

// Whatever the file's name has come to mean.
std::vector<wchar_t> devicePathOf(const HostFile& file)
{
    return DevicePathFromHost("/proc/self/fd/" + std::to_string(file.number()));
}

} // namespace xelini

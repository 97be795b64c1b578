#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/resource.h>
#include <unistd.h>

#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/virtual_memory.h"

namespace {

// One of the kernel's small text files, as far as a few kilobytes hold it.
class KernelText {
public:
    explicit KernelText(const char* path)
    {
        const int file = open(path, O_RDONLY | O_CLOEXEC);
        if (file < 0)
            return;
        ssize_t count = 0;
        while (m_length < sizeof m_bytes &&
               ((count = read(file, m_bytes + m_length, sizeof m_bytes - m_length)) > 0 ||
                (count < 0 && errno == EINTR))) {
            if (count > 0)
                m_length += static_cast<std::size_t>(count);
        }
        close(file);
    }

    // The number that follows `label`; 0 when there is none.
    std::uint64_t NumberAfter(std::string_view label) const
    {
        const std::string_view text(m_bytes, m_length);
        std::size_t start = text.find(label);
        if (start == text.npos)
            return 0;
        start = text.find_first_not_of(' ', start + label.size());
        std::uint64_t number = 0;
        if (start != text.npos)
            std::from_chars(text.data() + start, text.data() + text.size(), number);
        return number;
    }

private:
    char m_bytes[4096];
    std::size_t m_length = 0;
};

// By the list of what is mapped: the sum that the kernel offers is of the emulator where there is
// one.
std::uint64_t MappedBytes()
{
    std::FILE* const list = std::fopen("/proc/self/maps", "re");
    if (list == nullptr)
        return 0;
    std::uint64_t sum = 0;
    char line[512];
    while (std::fgets(line, sizeof line, list) != nullptr) {
        // What is left of a longer line is the end of a file's name.
        const char* const lineEnd = line + std::strlen(line);
        std::uint64_t start = 0;
        std::uint64_t end = 0;
        const auto first = std::from_chars(line, lineEnd, start, 16);
        if (first.ec == std::errc() && first.ptr != lineEnd && *first.ptr == '-' &&
            std::from_chars(first.ptr + 1, lineEnd, end, 16).ec == std::errc() && end > start)
            sum += end - start;
    }
    std::fclose(list);
    return sum;
}

// What this process may still map.
std::uint64_t UnmappedBytes()
{
    // All that an address of 32 bits can name, where the process has no limit of its own.
    constexpr std::uint64_t kAddressable = sizeof(void*) == 4 ? 0xFFFFFFFF : UINT64_MAX;
    rlimit limit{};
    std::uint64_t total = kAddressable;
    if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY)
        total = std::min<std::uint64_t>(total, limit.rlim_cur);
    if (total == UINT64_MAX)
        return total;
    return total - std::min(total, MappedBytes());
}

DWORD Saturated(std::uint64_t bytes)
{
    return static_cast<DWORD>(std::min<std::uint64_t>(bytes, 0xFFFFFFFF));
}

} // namespace

void GlobalMemoryStatus(MEMORYSTATUS* status)
{
    constexpr std::uint64_t kKilobyte = 1024;
    const KernelText text("/proc/meminfo");
    const std::uint64_t total = text.NumberAfter("MemTotal:") * kKilobyte;
    const std::uint64_t available = text.NumberAfter("MemAvailable:") * kKilobyte;
    const std::uint64_t virtualTotal = ReservableBytes();
    const std::uint64_t virtualLeft = virtualTotal - std::min(virtualTotal, ReservedBytes());

    status->dwLength = sizeof *status;
    status->dwMemoryLoad =
        total == 0 ? 0 : static_cast<DWORD>(100 - std::min(total, available) * 100 / total);
    status->dwTotalPhys = Saturated(total);
    status->dwAvailPhys = Saturated(available);
    status->dwTotalPageFile = Saturated(text.NumberAfter("SwapTotal:") * kKilobyte);
    status->dwAvailPageFile = Saturated(text.NumberAfter("SwapFree:") * kKilobyte);
    status->dwTotalVirtual = Saturated(virtualTotal);
    status->dwAvailVirtual = Saturated(std::min(virtualLeft, UnmappedBytes()));
}

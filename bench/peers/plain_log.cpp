// Lines without a log library.
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "host.h"
#include "log_writers.h"

namespace bench {

namespace {

unsigned Milliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<unsigned>(now.tv_sec * 1000 + now.tv_nsec / 1000000);
}

std::string Line()
{
    const std::string text =
        std::string("00012.345 ; 7 ; Job 12345 opened by ") + kOpenedBy + "\r\n";
    std::string units;
    for (const char ch : text)
        units.append({ch, '\0'});
    return units;
}

} // namespace

void FprintfLines(int count)
{
    static std::FILE* const file = std::fopen("fprintf.log", "w");
    static const unsigned start = Milliseconds();
    for (int i = 0; i < count; ++i) {
        const unsigned elapsed = Milliseconds() - start;
        if (std::fprintf(file, "%05u.%03u ;%2d ; Job %d opened by %s\r\n", elapsed / 1000,
                         elapsed % 1000, 7, i, kOpenedBy) < 0 ||
            std::fflush(file) != 0)
            Fail("cannot write fprintf.log");
    }
}

void WriteLines(int count)
{
    static const int file = open("write.log", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    static const std::string line = Line();
    for (int i = 0; i < count; ++i) {
        if (write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
            Fail("cannot write write.log");
    }
}

} // namespace bench

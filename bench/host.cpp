#include "host.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace bench {

void Fail(const std::string& message)
{
    std::fprintf(stderr, "%s\n", message.c_str());
    std::exit(1);
}

std::string OwnPath()
{
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

TempFile::TempFile(const std::string& content)
    : m_path((std::filesystem::temp_directory_path() / "xelutils_bench_XXXXXX").string())
{
    const int file = mkstemp(m_path.data());
    if (file < 0)
        Fail("cannot create a temporary file " + m_path);
    close(file);
    if (!(std::ofstream(m_path, std::ios::binary) << content << std::flush))
        Fail("cannot write " + m_path);
}

TempFile::~TempFile()
{
    unlink(m_path.c_str());
}

std::string TempFile::read() const
{
    std::ifstream in(m_path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

long ResidentBytes()
{
    long pages = 0;
    long residentPages = 0;
    if (!(std::ifstream("/proc/self/statm") >> pages >> residentPages))
        Fail("cannot read /proc/self/statm");
    return residentPages * sysconf(_SC_PAGESIZE);
}

std::string OutputOf(const std::string& commandLine)
{
    FILE* pipe = popen(commandLine.c_str(), "r");
    if (!pipe)
        Fail("cannot start " + commandLine);
    std::string output;
    for (int c; (c = std::getc(pipe)) != EOF;)
        output += static_cast<char>(c);
    if (pclose(pipe) != 0)
        Fail("failed: " + commandLine);
    return output;
}

} // namespace bench

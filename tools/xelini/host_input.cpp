#include "tools/xelini/host_input.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/xelini/failure.h"

namespace xelini {

HostInput::HostInput(const std::string& path) : m_name(path)
{
    if (path == "-") {
        spool(STDIN_FILENO);
        return;
    }
    m_file = FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info;
    if (!m_file.isOpen() || ::fstat(m_file.number(), &info) != 0)
        throw failedFile(m_name, "cannot be opened", errno);
    if (S_ISDIR(info.st_mode))
        throw failedFile(m_name, "cannot be read", EISDIR);
    if (!S_ISREG(info.st_mode)) {
        const FileDescriptor source = std::move(m_file);
        spool(source.number());
    }
}

void HostInput::spool(int source)
{
    std::string content;
    if (!readAll(source, content))
        throw failedFile(m_name, "cannot be read", errno);
    m_file = makeMemoryFile(content);
    if (!m_file.isOpen())
        throw failedFile(m_name, "cannot be kept in memory", errno);
}

std::string HostInput::bytes() const
{
    std::string content;
    if (::lseek(m_file.number(), 0, SEEK_SET) != 0 || !readAll(m_file.number(), content))
        throw failedFile(m_name, "cannot be read", errno);
    return content;
}

} // namespace xelini

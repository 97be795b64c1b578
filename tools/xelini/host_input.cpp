#include "tools/xelini/host_input.h"

#include "tools/xelini/failure.h"
#include "tools/xelini/host_errors.h"

namespace xelini {

HostInput::HostInput(const std::string& path) : m_name(path)
{
    if (path == "-") {
        spool(numberOf(StandardStream::input));
        return;
    }
    m_file = openForReading(path);
    FileState state;
    if (!m_file.isOpen() || !findState(m_file.number(), state))
        throw failedFile(m_name, "cannot be opened", lastError());
    if (state.kind == FileState::Kind::folder)
        throw failedFile(m_name, "cannot be read: is a directory");
    if (state.kind == FileState::Kind::other) {
        const HostFile source = std::move(m_file);
        spool(source.number());
    }
}

void HostInput::spool(HostFile::Number source)
{
    std::string content;
    if (!readAll(source, content))
        throw failedFile(m_name, "cannot be read", lastError());
    m_file = makeMemoryFile(content);
    if (!m_file.isOpen())
        throw failedFile(m_name, "cannot be kept in memory", lastError());
}

std::string HostInput::bytes() const
{
    std::string content;
    if (!rewind(m_file.number()) || !readAll(m_file.number(), content))
        throw failedFile(m_name, "cannot be read", lastError());
    return content;
}

} // namespace xelini

#include "tools/xelini/target_file.h"

#include "tools/xelini/failure.h"
#include "tools/xelini/host_errors.h"

namespace xelini {

TargetFile::TargetFile(const std::string& path)
    : m_name(path), m_path(path), m_isStandardOutput(path == "-")
{
    if (m_isStandardOutput)
        return;
    findTarget();
    if (m_exists)
        openHeld();
}

void TargetFile::refuseOthersThanFiles() const
{
    if (m_state.kind == FileState::Kind::folder)
        throw failedFile(m_name, "cannot be written: is a directory");
    if (m_state.kind != FileState::Kind::regular)
        throw failedFile(m_name, "cannot be written: not a regular file");
}

void TargetFile::refuseIfChanged() const
{
    FileState now;
    const bool isThere = findState(m_path, now);
    if (m_exists && !(isThere && now == m_state))
        throw failedFile(m_name, isThere ? "was changed by another program meanwhile; try again"
                                         : "was removed by another program meanwhile");
}

bool TargetFile::holds(std::string_view bytes) const
{
    std::string content;
    if (!m_exists || m_state.size != bytes.size())
        return false;
    return rewind(m_file.number()) && readAll(m_file.number(), content) && content == bytes;
}

void TargetFile::replace(std::string_view bytes, const Check& check)
{
    if (m_isStandardOutput)
        return print(bytes, check);
    if (holds(bytes))
        return;
    TemporaryFile temporary(folder());
    if (!temporary.file().isOpen())
        throw failedFile(m_name, "cannot write a new file in its folder", lastError());
    writeBeside(temporary, bytes);
    check(temporary.file());
    takePlace(temporary);
    temporary.keep();
}

void TargetFile::print(std::string_view bytes, const Check& check) const
{
    const HostFile copy = makeMemoryFile(bytes);
    if (!copy.isOpen())
        throw failedFile("standard output", "cannot be prepared", lastError());
    check(copy);
    if (!writeAll(numberOf(StandardStream::output), bytes))
        throw failedFile("standard output", "cannot be written", lastError());
}

} // namespace xelini

#include "xelutils/platform/posix/folder_reader.h"

#include <cerrno>
#include <cstddef>
#include <dirent.h>
#include <sys/types.h>

bool FolderReader::NextBlock()
{
    errno = 0;
    const ssize_t length = getdents64(m_descriptor, m_block, sizeof m_block);
    m_position = 0;
    m_length = length > 0 ? static_cast<std::size_t>(length) : 0;
    // A folder that was removed meanwhile has nothing more to list.
    if (length < 0 && errno == ENOENT)
        errno = 0;
    return m_length > 0;
}

std::string_view FolderReader::NextName()
{
    while (m_position < m_length) {
        const auto* const entry = reinterpret_cast<const dirent64*>(m_block + m_position);
        m_position += entry->d_reclen;
        // By address: names may be longer than the array that the record declares.
        const std::string_view name =
            m_block + m_position - entry->d_reclen + offsetof(dirent64, d_name);
        if (name == "." || name == "..")
            continue;
        m_type = entry->d_type;
        return name;
    }
    return {};
}

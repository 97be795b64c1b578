#include "tools/xelini/temporary_file.h"

#include "tools/xelini/windows/left_overs.h"

namespace xelini {

TemporaryFile::TemporaryFile(const std::string& folder) : m_path(makeLeftOver(folder))
{
    if (!m_path.empty())
        m_file = openForReading(m_path);
}

TemporaryFile::~TemporaryFile()
{
    if (!m_path.empty())
        removeLeftOver(m_path);
}

void TemporaryFile::keep()
{
    keepLeftOver(m_path);
    m_path.clear();
}

} // namespace xelini

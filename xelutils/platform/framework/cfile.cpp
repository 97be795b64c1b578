#include <algorithm>
#include <limits>

#include "xelutils/platform/framework.h"

namespace {

constexpr std::size_t kGatheredBytes = 0x10000;

} // namespace

CFile::~CFile()
{
    Close();
}

bool CFile::Open(const wchar_t* name, UINT flags)
{
    Close();
    const UINT mode = flags & ~UINT{shareDenyWrite};
    if (mode != (modeCreate | modeReadWrite) && mode != (modeCreate | modeWrite)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    const DWORD access =
        (flags & modeReadWrite) != 0 ? GENERIC_READ | GENERIC_WRITE : GENERIC_WRITE;
    m_file = CreateFileW(name, access, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
    return m_file != INVALID_HANDLE_VALUE;
}

void CFile::WriteThrough(const void* data, UINT size)
{
    if (m_failure != 0)
        throw CFileException(m_failure);
    if (m_gathering) {
        Flush();
        if (size <= m_gathered.size()) {
            std::copy_n(static_cast<const unsigned char*>(data), size, m_gathered.data());
            m_gatheredBytes = size;
            return;
        }
    }
    HandOn(data, size);
}

void CFile::HandOn(const void* data, UINT size)
{
    DWORD written = 0;
    const bool done = WriteFile(m_file, data, size, &written, nullptr) && written == size;
    if (done)
        return;
    // Not 0, which stands for no failure.
    const DWORD reason = GetLastError();
    const DWORD error = reason != ERROR_SUCCESS ? reason : ERROR_WRITE_FAULT;
    if (m_gathering)
        m_failure = error;
    throw CFileException(error);
}

void CFile::GatherWrites()
{
    m_gathered.resize(kGatheredBytes);
    m_gathering = true;
}

void CFile::Flush()
{
    if (m_failure != 0)
        throw CFileException(m_failure);
    if (m_gatheredBytes == 0)
        return;
    const auto size = static_cast<UINT>(m_gatheredBytes);
    m_gatheredBytes = 0;
    HandOn(m_gathered.data(), size);
}

void CFile::Close()
{
    try {
        Flush();
    } catch (const CFileException&) {
        // Who cares for the last block calls Flush; nobody can be told here.
    }
    if (m_file != INVALID_HANDLE_VALUE)
        CloseHandle(m_file);
    m_file = INVALID_HANDLE_VALUE;
    m_gathering = false;
    m_failure = 0;
    m_gathered.clear();
}

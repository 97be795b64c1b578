// A settings file in memory, reached by a path.
#pragma once

#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include "fuzz_input.h"
#include "xelutils/text/xel_utf.h"

class MemoryFile {
public:
    MemoryFile() : m_descriptor(memfd_create("settings", MFD_CLOEXEC))
    {
        FUZZ_REQUIRE(m_descriptor >= 0);
        m_path = xel_text::FromUtf8("/proc/self/fd/" + std::to_string(m_descriptor));
    }
    ~MemoryFile() { close(m_descriptor); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    void Fill(const std::uint8_t* data, std::size_t size)
    {
        FUZZ_REQUIRE(ftruncate(m_descriptor, 0) == 0);
        FUZZ_REQUIRE(pwrite(m_descriptor, data, size, 0) == static_cast<ssize_t>(size));
    }
    const wchar_t* Path() const { return m_path; }

private:
    int m_descriptor;
    xel_text::CXelStringT<wchar_t> m_path;
};

// Opening, for files and for files to be mapped.
#pragma once

#include "xelutils/platform/coredll.h"

#include <cstdint>
#include <memory>

#include "xelutils/platform/posix/handles.h"

struct OpenedFile {
    // Null on failure, with the last error set.
    std::shared_ptr<OpenFile> file;
    // Bytes at the time of opening.
    std::uint64_t size = 0;
};

// The rules of CreateFileW.
OpenedFile OpenDeviceFile(const wchar_t* name, DWORD access, DWORD share, DWORD creation);

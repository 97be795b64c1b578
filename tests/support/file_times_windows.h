#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "xelutils/platform/coredll.h"

inline void SetTimes(const std::string& hostPath, std::uint64_t access, std::uint64_t write)
{
    const auto record = [](std::uint64_t steps) {
        return FILETIME{static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
    };
    const FILETIME accessTime = record(access);
    const FILETIME writeTime = record(write);
    const HANDLE file = CreateFileW(std::filesystem::path(hostPath).c_str(), FILE_WRITE_ATTRIBUTES,
                                    0, nullptr, OPEN_EXISTING, 0, nullptr);
    SetFileTime(file, nullptr, &accessTime, &writeTime);
    CloseHandle(file);
}

// Opening, for files and for files to be mapped.
#pragma once

#include "xelutils/platform/coredll.h"

#include <cstdint>
#include <memory>
#include <sys/types.h>

#include "xelutils/platform/posix/handles.h"

// Read and write for all, less what the process's mask takes away.
constexpr mode_t kModeOfNewFiles = 0666;

// The descriptor, or another one in its place that is none of the standard streams: a program that
// was started without these must not find its files in their place. -1 as errno has it.
int ClearOfStandardStreams(int descriptor);

// A descriptor that is none of the standard streams and is closed on exec, or -1 with errno set.
// Neither waits for the other end of a FIFO nor adopts a terminal.
int OpenHostFile(const char* name, int flags, mode_t mode = kModeOfNewFiles);

// The same for a name in `folder`, an open folder.
int OpenHostFileIn(int folder, const char* name, int flags, mode_t mode = kModeOfNewFiles);

// Shuts out other writers that ask for the same. False with errno set when one is there.
bool LockAgainstWriters(int descriptor);

struct OpenedFile {
    // Null on failure, with the last error set.
    std::shared_ptr<OpenFile> file;
    // Bytes at the time of opening.
    std::uint64_t size = 0;
};

// The rules of CreateFileW.
OpenedFile OpenDeviceFile(const wchar_t* name, DWORD access, DWORD share, DWORD creation);

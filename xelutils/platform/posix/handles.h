// What stands behind a HANDLE.
#pragma once

#include <cstdint>
#include <memory>

#include "xelutils/platform/coredll.h"

// An open host file, closed with the last handle that refers to it.
struct OpenFile {
    explicit OpenFile(int hostDescriptor) : descriptor(hostDescriptor) {}
    ~OpenFile();
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    const int descriptor;
    bool writable = false;
};

enum class HandleKind { File, FileForMapping, Mapping };

struct HandleTarget {
    HandleKind kind = HandleKind::File;
    // Never null in a table entry that is in use.
    std::shared_ptr<OpenFile> file;
    // Bytes; of a file for mapping and of its mappings.
    std::uint64_t size = 0;
};

// Handles are numbers of table entries, so that one which was closed is refused, not followed.
HANDLE MakeHandle(HandleTarget target);

// What `handle` refers to; a null file, and ERROR_INVALID_HANDLE, when it refers to nothing.
HandleTarget LookUpHandle(HANDLE handle);

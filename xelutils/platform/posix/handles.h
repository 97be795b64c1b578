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
    // Never null while there is a handle for it.
    std::shared_ptr<OpenFile> file;
    // Bytes; of a file for mapping and of its mappings.
    std::uint64_t size = 0;
};

// What FindFirstFileW read; see find.cpp.
struct Listing;

// What a storage card tells of itself; see storage_cards.h.
struct Volume;

// A program that was started here; see processes.cpp.
struct ChildProcess;

// Handles are numbers of table entries, so that one which was closed is refused, not followed.
// Files and mappings share the numbers with listings, volumes and children, but none is taken for
// another.
HANDLE MakeHandle(HandleTarget target);
HANDLE MakeHandle(std::shared_ptr<const Volume> volume);
HANDLE MakeHandle(std::shared_ptr<Listing> listing);
HANDLE MakeHandle(std::shared_ptr<ChildProcess> child);

// What `handle` refers to; null, and ERROR_INVALID_HANDLE, when it refers to nothing of the
// kind.
HandleTarget LookUpHandle(HANDLE handle);
std::shared_ptr<Listing> LookUpListing(HANDLE handle);
std::shared_ptr<const Volume> LookUpVolume(HANDLE handle);
std::shared_ptr<ChildProcess> LookUpChild(HANDLE handle);

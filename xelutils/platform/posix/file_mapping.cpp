// Mappings, which are copies here. A host's own mapping would fault a reader when another program
// truncates the file, would show changes while a line is being read, and ends without zeros where
// the file ends with a page. A copy of private memory has none of that, costs fewer system calls
// for a small file, and all handles of one opening agree on one size.
#include <algorithm>
#include <cerrno>
#include <mutex>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/posix/files.h"
#include "xelutils/platform/unload.h"

namespace {

// Readers of 16-bit text rely on a zero character behind the last one, and the file's last byte
// may be half of one.
constexpr std::uint64_t kZerosBehindFile = 4;

// The device has addresses of 32 bits, and so have the sizes above.
constexpr std::uint64_t kLargestView = 0xFFFFFFFF - kZerosBehindFile;

struct View {
    void* start;
    std::size_t length;
};

struct Views {
    std::mutex lock;
    std::vector<View> all;
};

Views& AllViews()
{
    // Lasting: views may still be given back while the program ends.
    static Views& s_views = MakeLasting<Views>();
    return s_views;
}

// The file's first `size` bytes; what a file that has shrunk no longer has stays zero. False with
// errno set when the host cannot read it.
bool ReadWhole(int descriptor, unsigned char* target, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count =
            pread(descriptor, target + done, size - done, static_cast<off_t>(done));
        if (count == 0)
            return true;
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            return false;
    }
    return true;
}

} // namespace

HANDLE CreateFileForMappingW(const wchar_t* name, DWORD access, DWORD share, void* /*security*/,
                             DWORD creation, DWORD /*attributes*/, HANDLE /*templateFile*/)
{
    OpenedFile opened = OpenDeviceFile(name, access, share, creation);
    if (!opened.file)
        return INVALID_HANDLE_VALUE;
    return MakeHandle({HandleKind::FileForMapping, std::move(opened.file), opened.size});
}

HANDLE CreateFileMappingW(HANDLE file, void* /*security*/, DWORD protect, DWORD sizeHigh,
                          DWORD sizeLow, const wchar_t* name)
{
    if (protect != PAGE_READONLY || sizeHigh != 0 || sizeLow != 0 || name != nullptr) {
        Fail(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    HandleTarget target = LookUpHandle(file);
    if (!target.file)
        return nullptr;
    if (target.kind != HandleKind::FileForMapping) {
        Fail(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    if (target.size == 0) {
        Fail(ERROR_FILE_INVALID);
        return nullptr;
    }
    target.kind = HandleKind::Mapping;
    return MakeHandle(std::move(target));
}

void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, SIZE_T size)
{
    if (access != FILE_MAP_READ || offsetHigh != 0 || offsetLow != 0 || size != 0) {
        Fail(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const HandleTarget target = LookUpHandle(mapping);
    if (!target.file)
        return nullptr;
    if (target.kind != HandleKind::Mapping) {
        Fail(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    if (target.size > kLargestView) {
        Fail(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    const auto length = static_cast<std::size_t>(target.size + kZerosBehindFile);
    void* const start =
        mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (start == MAP_FAILED) {
        FailFromErrno(errno);
        return nullptr;
    }
    if (!ReadWhole(target.file->descriptor, static_cast<unsigned char*>(start),
                   static_cast<std::size_t>(target.size))) {
        const int error = errno;
        munmap(start, length);
        FailFromErrno(error);
        return nullptr;
    }
    Views& views = AllViews();
    const std::lock_guard guard(views.lock);
    views.all.push_back({start, length});
    return start;
}

BOOL UnmapViewOfFile(const void* view)
{
    Views& views = AllViews();
    const std::lock_guard guard(views.lock);
    const auto found = std::find_if(views.all.begin(), views.all.end(),
                                    [view](const View& each) { return each.start == view; });
    if (found == views.all.end())
        return Fail(ERROR_INVALID_ADDRESS);
    const View gone = *found;
    views.all.erase(found);
    return munmap(gone.start, gone.length) == 0 ? TRUE : FailFromErrno(errno);
}

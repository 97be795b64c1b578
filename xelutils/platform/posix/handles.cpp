#include "xelutils/platform/posix/handles.h"

#include <mutex>
#include <unistd.h>
#include <utility>
#include <vector>

#include "xelutils/platform/posix/errors.h"

namespace {

struct HandleTable {
    std::mutex lock;
    // An entry without file is free.
    std::vector<HandleTarget> entries;
};

HandleTable& Table()
{
    // Never destroyed: files may still be closed while the program ends.
    static HandleTable& s_table = *new HandleTable;
    return s_table;
}

// As on the device, a handle is a multiple of four and not null.
constexpr std::uintptr_t kHandleStep = 4;

HANDLE HandleOf(std::size_t index)
{
    return reinterpret_cast<HANDLE>((index + 1) * kHandleStep);
}

// The entry that is in use for `handle`, or null. The lock is held.
HandleTarget* Find(HandleTable& table, HANDLE handle)
{
    const auto number = reinterpret_cast<std::uintptr_t>(handle);
    const std::size_t index = number / kHandleStep - 1;
    if (number % kHandleStep != 0 || index >= table.entries.size() || !table.entries[index].file)
        return nullptr;
    return &table.entries[index];
}

} // namespace

OpenFile::~OpenFile()
{
    // Nobody is left to be told of a failure; the descriptor is gone in any case.
    close(descriptor);
}

HANDLE MakeHandle(HandleTarget target)
{
    HandleTable& table = Table();
    const std::lock_guard guard(table.lock);
    std::size_t index = 0;
    while (index < table.entries.size() && table.entries[index].file)
        ++index;
    if (index == table.entries.size())
        table.entries.emplace_back();
    table.entries[index] = std::move(target);
    return HandleOf(index);
}

HandleTarget LookUpHandle(HANDLE handle)
{
    HandleTable& table = Table();
    const std::lock_guard guard(table.lock);
    const HandleTarget* const target = Find(table, handle);
    if (target == nullptr) {
        Fail(ERROR_INVALID_HANDLE);
        return {};
    }
    return *target;
}

BOOL CloseHandle(HANDLE handle)
{
    HandleTable& table = Table();
    // The host's file is closed after the lock is free again.
    HandleTarget closed;
    const std::lock_guard guard(table.lock);
    HandleTarget* const target = Find(table, handle);
    if (target == nullptr)
        return Fail(ERROR_INVALID_HANDLE);
    closed = std::exchange(*target, {});
    return TRUE;
}

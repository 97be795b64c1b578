#include "xelutils/platform/posix/handles.h"

#include <algorithm>
#include <mutex>
#include <unistd.h>
#include <utility>
#include <variant>
#include <vector>

#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/unload.h"

namespace {

using Target = std::variant<std::monostate, HandleTarget, std::shared_ptr<Listing>,
                            std::shared_ptr<const Volume>, std::shared_ptr<ChildProcess>>;

struct HandleTable {
    std::mutex lock;
    // An entry without target is free.
    std::vector<Target> entries;
    // No entry below this one is free: programs may leave thousands of listings open.
    std::size_t firstFree = 0;
};

HandleTable& Table()
{
    // Lasting: files may still be closed while the program ends.
    static HandleTable& s_table = MakeLasting<HandleTable>();
    return s_table;
}

// As on the device, a handle is a multiple of four and not null.
constexpr std::uintptr_t kHandleStep = 4;

HANDLE HandleOf(std::size_t index)
{
    return reinterpret_cast<HANDLE>((index + 1) * kHandleStep);
}

// The entry for `handle` if one of T stands there, or null. The lock is held.
template <typename... T> Target* Find(HandleTable& table, HANDLE handle)
{
    const auto number = reinterpret_cast<std::uintptr_t>(handle);
    const std::size_t index = number / kHandleStep - 1;
    if (number % kHandleStep != 0 || index >= table.entries.size() ||
        !(std::holds_alternative<T>(table.entries[index]) || ...))
        return nullptr;
    return &table.entries[index];
}

HANDLE Add(Target target)
{
    HandleTable& table = Table();
    const std::lock_guard guard(table.lock);
    std::size_t index = table.firstFree;
    while (index < table.entries.size() && table.entries[index].index() != 0)
        ++index;
    if (index == table.entries.size())
        table.entries.emplace_back();
    table.entries[index] = std::move(target);
    table.firstFree = index + 1;
    return HandleOf(index);
}

template <typename T> T LookUp(HANDLE handle)
{
    HandleTable& table = Table();
    const std::lock_guard guard(table.lock);
    const Target* const target = Find<T>(table, handle);
    if (target == nullptr) {
        Fail(ERROR_INVALID_HANDLE);
        return {};
    }
    return std::get<T>(*target);
}

template <typename... T> BOOL Remove(HANDLE handle)
{
    HandleTable& table = Table();
    // What the host still has to do is done after the lock is free again.
    Target closed;
    const std::lock_guard guard(table.lock);
    Target* const target = Find<T...>(table, handle);
    if (target == nullptr)
        return Fail(ERROR_INVALID_HANDLE);
    closed = std::exchange(*target, {});
    const auto index = static_cast<std::size_t>(target - table.entries.data());
    table.firstFree = std::min(table.firstFree, index);
    return TRUE;
}

} // namespace

OpenFile::~OpenFile()
{
    // Nobody is left to be told of a failure; the descriptor is gone in any case.
    close(descriptor);
}

HANDLE MakeHandle(HandleTarget target)
{
    return Add(std::move(target));
}

HANDLE MakeHandle(std::shared_ptr<Listing> listing)
{
    return Add(std::move(listing));
}

HANDLE MakeHandle(std::shared_ptr<const Volume> volume)
{
    return Add(std::move(volume));
}

HANDLE MakeHandle(std::shared_ptr<ChildProcess> child)
{
    return Add(std::move(child));
}

HandleTarget LookUpHandle(HANDLE handle)
{
    return LookUp<HandleTarget>(handle);
}

std::shared_ptr<Listing> LookUpListing(HANDLE handle)
{
    return LookUp<std::shared_ptr<Listing>>(handle);
}

std::shared_ptr<const Volume> LookUpVolume(HANDLE handle)
{
    return LookUp<std::shared_ptr<const Volume>>(handle);
}

std::shared_ptr<ChildProcess> LookUpChild(HANDLE handle)
{
    return LookUp<std::shared_ptr<ChildProcess>>(handle);
}

BOOL CloseHandle(HANDLE handle)
{
    return Remove<HandleTarget, std::shared_ptr<const Volume>, std::shared_ptr<ChildProcess>>(
        handle);
}

BOOL FindClose(HANDLE listing)
{
    return Remove<std::shared_ptr<Listing>>(listing);
}

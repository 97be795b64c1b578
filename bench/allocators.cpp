#include "allocators.h"

#include <cstdlib>
#include <dlfcn.h>
#include <map>
#include <sched.h>
#include <unistd.h>

#include "host.h"
#include "xelutils/memory/dlmalloc.h"
#include "xelutils/platform/coredll.h"

namespace bench {

namespace {

constexpr char kTunables[] = "GLIBC_TUNABLES";
constexpr char kThreadLocalRoom[] = "glibc.rtld.optional_static_tls=16384";

// ---- glibc behind a lock ----

LONG g_lock = 0;

void Lock()
{
    while (InterlockedCompareExchange(&g_lock, 1, 0) != 0)
        sched_yield();
}

void Unlock()
{
    InterlockedExchange(&g_lock, 0);
}

void* LockedMalloc(std::size_t size)
{
    Lock();
    void* block = std::malloc(size);
    Unlock();
    return block;
}

void LockedFree(void* block)
{
    Lock();
    std::free(block);
    Unlock();
}

void* LockedRealloc(void* block, std::size_t size)
{
    Lock();
    void* moved = std::realloc(block, size);
    Unlock();
    return moved;
}

// ---- Foreign heaps ----

template <class Function> void Find(void* library, const char* name, Function*& function)
{
    function = reinterpret_cast<Function*>(dlsym(library, name));
    if (!function)
        Fail(dlerror());
}

PeerHeap Load(const char* path)
{
    void* library = dlopen(path, RTLD_LOCAL | RTLD_NOW | RTLD_DEEPBIND);
    if (!library)
        Fail(dlerror());
    PeerHeap heap{};
    Find(library, "malloc", heap.allocate);
    Find(library, "free", heap.release);
    Find(library, "realloc", heap.resize);
    return heap;
}

const std::map<std::string, const char*>& Libraries()
{
    static const std::map<std::string, const char*> libraries = {
        {"jemalloc", JEMALLOC_LIBRARY},
        {"mimalloc", MIMALLOC_LIBRARY},
        {"tcmalloc", TCMALLOC_LIBRARY},
    };
    return libraries;
}

} // namespace

void ReserveThreadLocalRoom(char** argv)
{
    const char* tunables = std::getenv(kTunables);
    if (tunables && std::string(tunables).find(kThreadLocalRoom) != std::string::npos)
        return;
    setenv(kTunables, kThreadLocalRoom, 1);
    execv("/proc/self/exe", argv);
    Fail("cannot start again with more room for thread-local data");
}

XelutilsHeap XelutilsAllocator()
{
    return {dlmalloc, dlfree, dlrealloc};
}

PeerHeap Glibc()
{
    return {std::malloc, std::free, std::realloc};
}

PeerHeap LockedGlibc()
{
    return {LockedMalloc, LockedFree, LockedRealloc};
}

const std::vector<std::string>& PeerNames()
{
    static const std::vector<std::string> names = {"glibc", "jemalloc", "mimalloc", "tcmalloc"};
    return names;
}

PeerHeap Peer(const std::string& name)
{
    static std::map<std::string, PeerHeap> loaded = {{"glibc", Glibc()}};
    if (!loaded.count(name))
        loaded[name] = Load(Libraries().at(name));
    return loaded[name];
}

} // namespace bench

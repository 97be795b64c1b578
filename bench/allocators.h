// The heaps that are compared, each as it is called by its users. The foreign ones are loaded
// apart, so that the program itself and its libraries stay on glibc's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

template <class Size> struct Heap {
    void* (*allocate)(Size);
    void (*release)(void*);
    void* (*resize)(void*, Size);
};

using XelutilsHeap = Heap<std::uint32_t>;
using PeerHeap = Heap<std::size_t>;

// jemalloc wants more room for thread-local data than a program leaves for libraries loaded later,
// unless its environment asks for it; starts this very program again where it does not.
void ReserveThreadLocalRoom(char** argv);

XelutilsHeap XelutilsAllocator();

PeerHeap Glibc();

// glibc's heap behind a lock that is taken and released as the library's heap does it.
PeerHeap LockedGlibc();

// "glibc", "jemalloc", "mimalloc" and "tcmalloc".
const std::vector<std::string>& PeerNames();

// Ends the program when it cannot be loaded. Loaded once, never unloaded.
PeerHeap Peer(const std::string& name);

} // namespace bench

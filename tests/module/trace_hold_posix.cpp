// The library's calls of operator new come here: showing a line to a debugger allocates.
#include <cstdlib>
#include <new>
#include <utility>

#include "module/trace_hold.h"

namespace {

thread_local void (*t_hold)() = nullptr;

} // namespace

void CallInsideNextTrace(void (*hold)())
{
    t_hold = hold;
}

void* operator new(std::size_t size)
{
    if (auto* const hold = std::exchange(t_hold, nullptr))
        hold();
    if (void* const block = std::malloc(size))
        return block;
    std::abort();
}
void operator delete(void* block) noexcept
{
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

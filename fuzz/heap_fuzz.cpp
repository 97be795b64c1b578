// Operations on the heap against a record of what is allocated; the whole heap is checked after
// each.
#include "fuzz_input.h"
#include "tests/memory/heap_model.h"
#include "xelutils/memory/dlmalloc.h"

using xel_heap::word;

namespace {

struct Calls {
    void* Allocate(word size) { return dlmalloc(size); }
    void* AllocateZeroed(word count, word size) { return dlcalloc(count, size); }
    void* Reallocate(void* block, word size) { return dlrealloc(block, size); }
    void Free(void* block) { dlfree(block); }
};

word Size(FuzzInput& input)
{
    const unsigned kind = input.Byte();
    const word size = input.Word();
    return kind < 160 ? size % 300 : kind < 250 ? size : kind < 254 ? size * 16 : 0xFFFFFFC0 - size;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    Calls calls;
    HeapModel<Calls> model(calls, xel_heap::g_heap);
    while (!input.Empty()) {
        const unsigned action = input.Byte();
        FUZZ_REQUIRE(model.Step(action, Size(input)) == nullptr);
    }
    FUZZ_REQUIRE(model.FreeAll() == nullptr);
    return 0;
}

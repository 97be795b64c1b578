// Operations on the heap against a record of what is allocated; the whole heap is checked after
// each.
#include <cstring>
#include <vector>

#include "fuzz_input.h"
#include "xelutils/memory/dlmalloc.h"
#include "xelutils/memory/internal/heap_check.h"

using namespace xel_heap;

namespace {

struct Entry {
    unsigned char* block;
    word size;
    unsigned char fill;
};

bool HoldsFill(const Entry& entry, word size)
{
    return std::all_of(entry.block, entry.block + size,
                       [&entry](unsigned char byte) { return byte == entry.fill; });
}

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
    std::vector<Entry> model;
    HeapCensus census;
    while (!input.Empty()) {
        const unsigned action = input.Byte();
        const word wanted = Size(input);
        const auto fill = static_cast<unsigned char>(action * 31 + wanted);
        if (action < 120 || model.empty()) {
            auto* const block =
                static_cast<unsigned char*>(action < 30 ? dlcalloc(1, wanted) : dlmalloc(wanted));
            if (block) {
                FUZZ_REQUIRE(action >= 30 || HoldsFill({block, wanted, 0}, wanted));
                std::memset(block, fill, wanted);
                model.push_back({block, wanted, fill});
            }
        } else {
            Entry& entry = model[action % model.size()];
            FUZZ_REQUIRE(HoldsFill(entry, entry.size));
            if (action < 180) {
                auto* const block = static_cast<unsigned char*>(dlrealloc(entry.block, wanted));
                if (block) {
                    entry.block = block;
                    FUZZ_REQUIRE(HoldsFill(entry, std::min(entry.size, wanted)));
                    std::memset(block, fill, wanted);
                    entry.size = wanted;
                    entry.fill = fill;
                }
            } else {
                dlfree(entry.block);
                // A second free of it changes nothing while its memory is not handed out again.
                if (action >= 240)
                    dlfree(entry.block);
                entry = model.back();
                model.pop_back();
            }
        }
        const char* const fault = FindHeapFault(g_heap, census);
        if (fault)
            std::fprintf(stderr, "%s\n", fault);
        FUZZ_REQUIRE(!fault);
    }
    for (const Entry& entry : model) {
        FUZZ_REQUIRE(HoldsFill(entry, entry.size));
        dlfree(entry.block);
    }
    return 0;
}

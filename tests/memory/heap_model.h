// Steps on a heap beside a plain record of what is allocated; the whole heap is checked after each.
#pragma once

#include <algorithm>
#include <cstring>
#include <vector>

#include "xelutils/memory/internal/heap.h"
#include "xelutils/memory/internal/heap_check.h"

// `Calls` has Allocate, AllocateZeroed, Reallocate and Free.
template <class Calls> class HeapModel {
public:
    using word = xel_heap::word;

    HeapModel(Calls& calls, xel_heap::Heap& heap) : m_calls(calls), m_heap(heap) {}

    // Of actions below 256 the first half allocates, some zeroed memory; the others resize and
    // free, the last ones twice. Tells what is wrong, null when nothing is.
    const char* Step(unsigned action, word size)
    {
        if (action < 120 || m_entries.empty())
            Allocate(size, action);
        else if (action < 180)
            Resize(m_entries[action * 7u % m_entries.size()], size, action);
        else
            Free(action * 7u % m_entries.size(), action >= 240);
        const char* const fault = FindHeapFault(m_heap, census);
        return m_fault ? m_fault : fault;
    }
    const char* FreeAll()
    {
        while (!m_entries.empty())
            Free(0, false);
        const char* const fault = FindHeapFault(m_heap, census);
        return m_fault ? m_fault : fault;
    }

    xel_heap::HeapCensus census;

private:
    struct Entry {
        unsigned char* block;
        word size;
        unsigned char fill;
    };

    void Allocate(word size, unsigned action)
    {
        const bool zeroed = action < 30;
        void* const block = zeroed ? m_calls.AllocateZeroed(1, size) : m_calls.Allocate(size);
        if (!block)
            return;
        m_entries.push_back({static_cast<unsigned char*>(block), size, 0});
        if (zeroed)
            RequireFill(m_entries.back(), size);
        Fill(m_entries.back(), action);
    }
    void Resize(Entry& entry, word size, unsigned action)
    {
        RequireFill(entry, entry.size);
        void* const block = m_calls.Reallocate(entry.block, size);
        if (!block)
            return;
        entry.block = static_cast<unsigned char*>(block);
        RequireFill(entry, std::min(entry.size, size));
        entry.size = size;
        Fill(entry, action);
    }
    // A second free changes nothing while the memory is not handed out again.
    void Free(std::size_t index, bool twice)
    {
        RequireFill(m_entries[index], m_entries[index].size);
        m_calls.Free(m_entries[index].block);
        if (twice)
            m_calls.Free(m_entries[index].block);
        m_entries[index] = m_entries.back();
        m_entries.pop_back();
    }
    void Fill(Entry& entry, unsigned action)
    {
        if (xel_heap::ChunkOf(entry.block)->UsableSize() < entry.size)
            m_fault = "a block is too small";
        entry.fill = static_cast<unsigned char>(action * 31 + entry.size);
        std::memset(entry.block, entry.fill, entry.size);
    }
    void RequireFill(const Entry& entry, word size)
    {
        if (std::any_of(entry.block, entry.block + size,
                        [&entry](unsigned char byte) { return byte != entry.fill; }))
            m_fault = "the content of a block has changed";
    }

    Calls& m_calls;
    xel_heap::Heap& m_heap;
    std::vector<Entry> m_entries;
    const char* m_fault = nullptr;
};

// Walks a whole heap and verifies what must hold between two calls; for tests.
#pragma once

#include "xelutils/memory/internal/heap.h"

namespace xel_heap {

// What the walk counted.
struct HeapCensus {
    word segments = 0;
    // Over all segments.
    word segmentBytes = 0;
    word usedChunks = 0;
    // In bins; neither the designated victim nor the top.
    word freeChunks = 0;
};

// Null when every invariant holds, else the broken one in words.
const char* FindHeapFault(Heap& heap, HeapCensus& census);

} // namespace xel_heap

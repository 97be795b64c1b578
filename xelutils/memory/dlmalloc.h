// The library's own heap, one for the whole process. Sizes and figures are 32 bits on every
// target; on 64-bit ones all its memory lies below 4 GiB.
//
// A block costs 4 bytes over its size, its chunk has at least 16 bytes, and every payload is a
// multiple of 8. Any thread may call; nothing is thrown and no error code is set. Freeing a block
// twice or freeing foreign memory is ignored.
#pragma once

#include <cstdint>

#include "xelutils/export.h"

extern "C" {

// At least `size` usable bytes, or null. dlmalloc(0) gives a distinct block of 12 bytes. Sizes of
// 0xFFFFFFC0 and more fail.
XELUTILS_API void* dlmalloc(std::uint32_t size);

// Null is harmless.
XELUTILS_API void dlfree(void* block);

// `count` times `size` bytes, all zero, or null; null too when the product exceeds 32 bits.
XELUTILS_API void* dlcalloc(std::uint32_t count, std::uint32_t size);

// The block resized, its content kept up to the smaller size; it may have moved. Null leaves the
// block as it was (out of memory, or no block of this heap). dlrealloc(null, n) is dlmalloc(n).
// A size of 0 does not free: callers rely on getting the block itself back (a large one with a
// mapping of its own moves).
XELUTILS_API void* dlrealloc(void* block, std::uint32_t size);

// Bytes: the most ever obtained from the system, those obtained now, and those in use with their
// overhead. All three are 0 until the first block that has no mapping of its own. Pointers may be
// null.
XELUTILS_API void dlmalloc_stats2(std::uint32_t* maxSystemBytes, std::uint32_t* systemBytes,
                                  std::uint32_t* inUseBytes);
}

// Lets standard containers take their storage from the library's heap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "xelutils/memory/dlmalloc.h"

namespace xel_mem {

// Stateless: all instances are equal. Nothing is thrown: when the heap cannot serve a request
// (or n * sizeof(T) does not fit 32 bits) the container receives a null pointer.
template <class T> class xel_dl_allocator {
public:
    using value_type = T;
    using pointer = T*;
    using const_pointer = const T*;
    using reference = T&;
    using const_reference = const T&;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using is_always_equal = std::true_type;
    using propagate_on_container_move_assignment = std::true_type;
    template <class U> struct rebind {
        using other = xel_dl_allocator<U>;
    };

    xel_dl_allocator() noexcept = default;
    template <class U> xel_dl_allocator(const xel_dl_allocator<U>&) noexcept {}

    // Room for `count` elements; for 0 the smallest block, which can be given back like others.
    T* allocate(std::size_t count)
    {
        static_assert(alignof(T) <= 8, "the heap's blocks are aligned to 8 bytes");
        if (count > std::numeric_limits<std::uint32_t>::max() / sizeof(T))
            return nullptr;
        return static_cast<T*>(dlmalloc(static_cast<std::uint32_t>(count * sizeof(T))));
    }

    // Null is harmless; the count is not looked at.
    void deallocate(T* block, std::size_t) noexcept { dlfree(block); }

    template <class U, class... Args> void construct(U* place, Args&&... args)
    {
        ::new (static_cast<void*>(place)) U(std::forward<Args>(args)...);
    }
    template <class U> void destroy(U* element) { std::destroy_at(element); }

    size_type max_size() const noexcept
    {
        return std::numeric_limits<std::uint32_t>::max() / sizeof(T);
    }

    friend bool operator==(const xel_dl_allocator&, const xel_dl_allocator&) noexcept
    {
        return true;
    }
    template <class U>
    friend bool operator==(const xel_dl_allocator&, const xel_dl_allocator<U>&) noexcept
    {
        return true;
    }
};

} // namespace xel_mem

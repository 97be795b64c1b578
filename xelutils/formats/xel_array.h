// The library's growable array: a standard vector over the library's heap, with the vector's
// layout, in the form in which arrays cross the library's interfaces.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <vector>

#include "xelutils/memory/xel_dl_allocator.h"

namespace xel_templ {

namespace detail {

// The heap's adapter, but for the null pointer by which that reports an exhausted heap: a vector
// would take it as it is.
template <class T> struct CArrayAllocator : xel_mem::xel_dl_allocator<T> {
    template <class U> struct rebind {
        using other = CArrayAllocator<U>;
    };

    T* allocate(std::size_t count)
    {
        T* const block = xel_mem::xel_dl_allocator<T>::allocate(count);
        if (!block)
            std::abort();
        return block;
    }
};

} // namespace detail

// An array of TYPE whose elements are passed in as ARG_TYPE.
//
// The first append makes room for one element, every later growth doubles; room is never given
// back before the array is destroyed. Elements are copied, also when the array grows. When the
// heap cannot serve a growth the program is ended by std::abort.
template <class TYPE, class ARG_TYPE> class CXelArray {
public:
    using value_type = TYPE;
    using iterator = TYPE*;
    using const_iterator = const TYPE*;

    std::size_t size() const { return m_elements.size(); }
    std::size_t capacity() const { return m_elements.capacity(); }
    bool empty() const { return m_elements.empty(); }

    // `index` must be below size().
    TYPE& operator[](std::size_t index) { return m_elements[index]; }
    const TYPE& operator[](std::size_t index) const { return m_elements[index]; }

    iterator begin() { return m_elements.data(); }
    iterator end() { return m_elements.data() + m_elements.size(); }
    const_iterator begin() const { return m_elements.data(); }
    const_iterator end() const { return m_elements.data() + m_elements.size(); }

    // `element` may be one of the array's own.
    void push_back(ARG_TYPE element)
    {
        if (m_elements.size() < m_elements.capacity())
            m_elements.push_back(element);
        else
            Grow(element);
    }

    // Takes the elements [from, to) out by assigning those behind them downwards, the first one
    // first. Returns the place of the first element behind the gap. A range that is no part of
    // the array or reversed is left alone.
    iterator erase(iterator from, iterator to)
    {
        if (from < begin() || to > end() || from >= to)
            return from;
        const auto kept = std::copy(to, end(), from) - begin();
        m_elements.erase(m_elements.begin() + kept, m_elements.end());
        return from;
    }

    // Keeps the room.
    void clear() { m_elements.clear(); }

private:
    using Elements = std::vector<TYPE, detail::CArrayAllocator<TYPE>>;

    // A vector's own growth would move the elements.
    void Grow(ARG_TYPE element)
    {
        const std::size_t count = m_elements.size();
        const std::size_t room = count + std::max<std::size_t>(count, 1);
        Elements grown;
        if (room > grown.max_size())
            std::abort();
        grown.reserve(room);
        grown.insert(grown.end(), m_elements.begin(), m_elements.end());
        grown.push_back(element);
        m_elements.swap(grown);
    }

    Elements m_elements;
};

} // namespace xel_templ

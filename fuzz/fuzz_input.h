// Numbers and texts out of a fuzzer's bytes; zeros when they are used up.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#define FUZZ_REQUIRE(condition)                                                                    \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition);           \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)

class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : m_data(data), m_left(size) {}

    bool Empty() const { return m_left == 0; }
    unsigned Byte()
    {
        if (m_left == 0)
            return 0;
        --m_left;
        return *m_data++;
    }
    unsigned Word() { return Byte() | Byte() << 8; }
    // From -8 to `most` + 8: in range, and a little out of it.
    int Index(int most) { return static_cast<int>(Word() % static_cast<unsigned>(most + 17)) - 8; }
    // Few different units, so that texts find and match each other; zeros among them.
    wchar_t Unit() { return One(L"aab \tB\x00E9\x20AC\xD83D"); }
    // One of them, the last one of a literal being a zero.
    template <class T, std::size_t N> T One(const T (&units)[N]) { return units[Byte() % N]; }

private:
    const std::uint8_t* m_data;
    std::size_t m_left;
};

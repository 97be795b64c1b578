// Scanning of text in units of either width, 16 bytes at a time where units have 16 bits: the C
// library's wide functions are of no use where its wide characters have 32.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace xel_text::scan {

// A position that was not found.
constexpr std::size_t kNone = ~std::size_t{0};

static_assert(std::endian::native == std::endian::little);

// Eight units, compared at once by the compiler's portable vectors.
using Units = std::uint16_t __attribute__((vector_size(16)));
constexpr std::size_t kUnits = 8;
constexpr int kUnitBits = 16;

inline Units Load(const wchar_t* text)
{
    Units units;
    std::memcpy(&units, text, sizeof units);
    return units;
}
inline Units Repeat(wchar_t unit)
{
    const auto u = static_cast<std::uint16_t>(unit);
    return Units{u, u, u, u, u, u, u, u};
}

// The result of a comparison: all bits of a matching unit are set.
class Matches {
public:
    template <class Vector> explicit Matches(Vector comparison)
    {
        std::memcpy(m_halves, &comparison, sizeof m_halves);
    }
    bool Any() const { return (m_halves[0] | m_halves[1]) != 0; }
    // The first match; there must be one.
    std::size_t First() const
    {
        return m_halves[0] != 0 ? Position(m_halves[0]) : kUnits / 2 + Position(m_halves[1]);
    }
    // Forgets the matches before position `start`.
    void DropBelow(std::size_t start)
    {
        constexpr std::uint64_t kAll = ~std::uint64_t{0};
        constexpr std::size_t kHalf = kUnits / 2;
        m_halves[0] = start < kHalf ? m_halves[0] & (kAll << (start * kUnitBits)) : 0;
        m_halves[1] &= start < kHalf ? kAll : kAll << ((start - kHalf) * kUnitBits);
    }
    void DropFirst()
    {
        std::uint64_t& half = m_halves[m_halves[0] != 0 ? 0 : 1];
        half &= ~(std::uint64_t{0xFFFF} << std::countr_zero(half));
    }

private:
    static std::size_t Position(std::uint64_t half)
    {
        return static_cast<std::size_t>(std::countr_zero(half) / kUnitBits);
    }
    std::uint64_t m_halves[2];
};

inline std::size_t Length(const char* text)
{
    return std::strlen(text);
}

// Reads whole aligned blocks: before the text and beyond its terminator, but never outside the
// pages that hold them.
__attribute__((no_sanitize("address", "thread"))) inline std::size_t Length(const wchar_t* text)
{
    // An alias declaration would lose the attribute in clang.
    typedef Units AliasedUnits __attribute__((may_alias));
    const auto address = reinterpret_cast<std::uintptr_t>(text);
    if (address % sizeof(wchar_t) != 0) [[unlikely]] {
        std::size_t length = 0;
        while (text[length] != 0)
            ++length;
        return length;
    }
    const std::size_t before = address % sizeof(Units) / sizeof(wchar_t);
    const auto* block = reinterpret_cast<const AliasedUnits*>(address - address % sizeof(Units));
    Matches zeros(*block == Units{});
    zeros.DropBelow(before);
    for (std::size_t start = 0;; start += kUnits) {
        if (zeros.Any())
            return start + zeros.First() - before;
        ++block;
        zeros = Matches(*block == Units{});
    }
}

// The first of `length` units that equals `unit`, or kNone.
inline std::size_t FindUnit(const char* text, std::size_t length, char unit)
{
    const void* const found = std::memchr(text, unit, length);
    return found ? static_cast<std::size_t>(static_cast<const char*>(found) - text) : kNone;
}
inline std::size_t FindUnit(const wchar_t* text, std::size_t length, wchar_t unit)
{
    const Units wanted = Repeat(unit);
    std::size_t i = 0;
    for (; i + 4 * kUnits <= length; i += 4 * kUnits) {
        const auto a = Load(text + i) == wanted;
        const auto b = Load(text + i + kUnits) == wanted;
        const auto c = Load(text + i + 2 * kUnits) == wanted;
        const auto d = Load(text + i + 3 * kUnits) == wanted;
        if (Matches((a | b) | (c | d)).Any())
            break;
    }
    for (; i + kUnits <= length; i += kUnits) {
        const Matches matches(Load(text + i) == wanted);
        if (matches.Any())
            return i + matches.First();
    }
    for (; i < length; ++i) {
        if (text[i] == unit)
            return i;
    }
    return kNone;
}

// The first of `length` units that equals one of the two, or `length`.
inline std::size_t FindEither(const wchar_t* text, std::size_t length, wchar_t first,
                              wchar_t second)
{
    const Units wantedFirst = Repeat(first);
    const Units wantedSecond = Repeat(second);
    const auto compare = [&](std::size_t i) {
        const Units units = Load(text + i);
        return (units == wantedFirst) | (units == wantedSecond);
    };
    std::size_t i = 0;
    for (; i + 4 * kUnits <= length; i += 4 * kUnits) {
        const auto a = compare(i) | compare(i + kUnits);
        const auto b = compare(i + 2 * kUnits) | compare(i + 3 * kUnits);
        if (Matches(a | b).Any())
            break;
    }
    for (; i + kUnits <= length; i += kUnits) {
        const Matches matches(compare(i));
        if (matches.Any())
            return i + matches.First();
    }
    while (i < length && text[i] != first && text[i] != second)
        ++i;
    return i;
}
inline std::size_t FindEither(const char* text, std::size_t length, char first, char second)
{
    using Bytes = std::uint8_t __attribute__((vector_size(16)));
    constexpr std::size_t kBytes = 16;
    const Bytes wantedFirst = Bytes{} + static_cast<std::uint8_t>(first);
    const Bytes wantedSecond = Bytes{} + static_cast<std::uint8_t>(second);
    std::size_t i = 0;
    for (; i + kBytes <= length; i += kBytes) {
        Bytes bytes;
        std::memcpy(&bytes, text + i, sizeof bytes);
        if (Matches((bytes == wantedFirst) | (bytes == wantedSecond)).Any())
            break;
    }
    while (i < length && text[i] != first && text[i] != second)
        ++i;
    return i;
}

// The number of leading units that are equal, at most `length`.
inline std::size_t EqualUnits(const wchar_t* first, const wchar_t* second, std::size_t length)
{
    constexpr std::size_t kStep = sizeof(std::uint64_t) / sizeof(wchar_t);
    std::size_t i = 0;
    for (; i + kStep <= length; i += kStep) {
        std::uint64_t a, b;
        std::memcpy(&a, first + i, sizeof a);
        std::memcpy(&b, second + i, sizeof b);
        if (a != b)
            return i + static_cast<std::size_t>(std::countr_zero(a ^ b) / kUnitBits);
    }
    while (i < length && first[i] == second[i])
        ++i;
    return i;
}

// The first occurrence of `wanted` (wantedLength > 0, no zeros in it) in `length` units, or kNone.
inline std::size_t FindSpan(const wchar_t* text, std::size_t length, const wchar_t* wanted,
                            std::size_t wantedLength)
{
    if (wantedLength > length)
        return kNone;
    if (wantedLength == 1)
        return FindUnit(text, length, wanted[0]);
    const std::size_t lastStart = length - wantedLength;
    const std::size_t last = wantedLength - 1;
    const std::size_t middleBytes = (wantedLength - 2) * sizeof(wchar_t);
    const auto occursAt = [&](std::size_t i) {
        return text[i] == wanted[0] && text[i + last] == wanted[last] &&
               std::memcmp(text + i + 1, wanted + 1, middleBytes) == 0;
    };
    // Places whose first and last units fit are few.
    const Units firstUnit = Repeat(wanted[0]);
    const Units lastUnit = Repeat(wanted[last]);
    const auto candidates = [&](std::size_t i) {
        return (Load(text + i) == firstUnit) & (Load(text + i + last) == lastUnit);
    };
    std::size_t i = 0;
    while (i + 2 * kUnits <= lastStart + 1) {
        const auto a = candidates(i);
        const auto b = candidates(i + kUnits);
        if (Matches(a | b).Any()) {
            for (Matches found(a); found.Any(); found.DropFirst()) {
                if (occursAt(i + found.First()))
                    return i + found.First();
            }
            for (Matches found(b); found.Any(); found.DropFirst()) {
                if (occursAt(i + kUnits + found.First()))
                    return i + kUnits + found.First();
            }
        }
        i += 2 * kUnits;
    }
    for (; i <= lastStart; ++i) {
        if (occursAt(i))
            return i;
    }
    return kNone;
}

// The same in narrow text, which holds no zero either and is terminated.
inline std::size_t FindSpan(const char* text, std::size_t, const char* wanted, std::size_t)
{
    const char* const found = std::strstr(text, wanted);
    return found ? static_cast<std::size_t>(found - text) : kNone;
}

// The first occurrence of `wanted` before the first zero of the text, which has `length` units and
// a terminator behind them; or kNone.
inline std::size_t FindText(const wchar_t* text, std::size_t length, const wchar_t* wanted,
                            std::size_t wantedLength)
{
    if (wantedLength == 0)
        return 0;
    const std::size_t found = FindSpan(text, length, wanted, wantedLength);
    // A zero before the place found is the end of the text.
    return found != kNone && FindUnit(text, found, 0) != kNone ? kNone : found;
}
inline std::size_t FindText(const char* text, std::size_t length, const char* wanted,
                            std::size_t wantedLength)
{
    return FindSpan(text, length, wanted, wantedLength);
}

} // namespace xel_text::scan

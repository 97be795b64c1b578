// Between bytes of a code page and UTF-16.
#include <algorithm>
#include <climits>
#include <cstring>

#include "xelutils/platform/posix/code_pages.h"
#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/posix/unit_blocks.h"
#include "xelutils/platform/posix/wide_length.h"

namespace {

// ---- Single-byte pages --------------------------------------------------------------------

// The pages of other scripts than the Western one have letters in most of their open bytes: for
// them a block that is not all ASCII is looked up unit by unit.
bool OpenBytesAreRare(const CodePage& page)
{
    return page.openMask != 0x80;
}

void DecodeBytes(const CodePage& page, const unsigned char* source, std::size_t count,
                 wchar_t* target)
{
    const Bytes16 openMask = Bytes16{} + page.openMask;
    const bool openIsRare = OpenBytesAreRare(page);
    std::size_t i = 0;
    for (; count - i >= kBytesPerBlock; i += kBytesPerBlock) {
        const Bytes16 block = LoadBlock<Bytes16>(source + i);
        const auto open = (block & openMask) == 0x80;
        const bool anyOpen = AnyBit(open);
        if (anyOpen && !openIsRare) {
            for (std::size_t k = i; k < i + kBytesPerBlock; ++k)
                target[k] = page.units[source[k]];
            continue;
        }
        StoreBlock(target + i, WidenLowHalf(block));
        StoreBlock(target + i + kUnitsPerBlock, WidenHighHalf(block));
        if (anyOpen) {
            std::uint64_t masks[2];
            std::memcpy(masks, &open, sizeof masks);
            for (std::size_t half = 0; half < 2; ++half) {
                ForEachInMask(masks[half], [&, first = i + half * kUnitsPerBlock](std::size_t k) {
                    target[first + k] = page.units[source[first + k]];
                });
            }
        }
    }
    for (; i < count; ++i)
        target[i] = page.units[source[i]];
}

// The entry of the reverse table: 0 for what the page does not hold.
std::uint16_t EncodeUnit(const CodePage& page, wchar_t unit)
{
    return page.reversePages[page.reversePageOf[unit >> 8]][unit & 0xFF];
}

// True when a default character had to stand in.
bool EncodeUnits(const CodePage& page, const wchar_t* source, std::size_t count, char* target,
                 char defaultChar)
{
    const auto identityMask = static_cast<std::uint16_t>(0xFF00 | page.openMask);
    const bool openIsRare = OpenBytesAreRare(page);
    bool usedDefault = false;
    const auto encode = [&](std::size_t i) {
        const wchar_t unit = source[i];
        if (unit < 0x80) {
            target[i] = static_cast<char>(unit);
            return;
        }
        const std::uint16_t byte = EncodeUnit(page, unit);
        usedDefault |= byte == 0;
        target[i] = byte == 0 ? defaultChar : static_cast<char>(byte);
    };
    std::size_t i = 0;
    for (; count - i >= kBytesPerBlock; i += kBytesPerBlock) {
        const Units8 low = LoadBlock<Units8>(source + i);
        const Units8 high = LoadBlock<Units8>(source + i + kUnitsPerBlock);
        const auto lowOpen = ((low & identityMask) == 0x80) | ((low & 0xFF00) != 0);
        const auto highOpen = ((high & identityMask) == 0x80) | ((high & 0xFF00) != 0);
        const bool anyOpen = AnyBit(lowOpen | highOpen);
        if (anyOpen && !openIsRare) {
            for (std::size_t k = i; k < i + kBytesPerBlock; ++k)
                encode(k);
            continue;
        }
        StoreBlock(target + i, __builtin_convertvector(low, Bytes8));
        StoreBlock(target + i + kUnitsPerBlock, __builtin_convertvector(high, Bytes8));
        if (anyOpen) {
            ForEachInMask(UnitMask(lowOpen), [&](std::size_t k) { encode(i + k); });
            ForEachInMask(UnitMask(highOpen),
                          [&](std::size_t k) { encode(i + kUnitsPerBlock + k); });
        }
    }
    const auto encodeHalfBlock = [&](std::size_t start) {
        const Units8 units = LoadBlock<Units8>(source + start);
        if (AnyBit(((units & identityMask) == 0x80) | ((units & 0xFF00) != 0))) {
            for (std::size_t k = start; k < start + kUnitsPerBlock; ++k)
                encode(k);
        } else {
            StoreBlock(target + start, __builtin_convertvector(units, Bytes8));
        }
    };
    // What is left of a text that has half a block is done by one or two of these, which may
    // overlap what is done already: most texts are short, and units one by one take longer.
    if (count >= kUnitsPerBlock && i < count) {
        if (count - i > kUnitsPerBlock)
            encodeHalfBlock(i);
        encodeHalfBlock(count - kUnitsPerBlock);
        i = count;
    }
    for (; i < count; ++i)
        encode(i);
    return usedDefault;
}

// ---- Double-byte pages --------------------------------------------------------------------

// Where converted text goes: counts everything, stores what fits.
template <class Char> class Target {
public:
    Target(Char* buffer, std::size_t size) : m_buffer(buffer), m_size(size) {}

    // A character is stored whole or not at all, and nothing after one that did not fit.
    void Put(const Char* text, std::size_t count)
    {
        m_needed += count;
        if (m_needed <= m_size)
            std::copy(text, text + count, m_buffer + m_needed - count);
    }

    std::size_t Needed() const { return m_needed; }

private:
    Char* m_buffer;
    std::size_t m_size;
    std::size_t m_needed = 0;
};

void DecodePairs(const CodePage& page, const unsigned char* source, std::size_t count,
                 Target<wchar_t>& target)
{
    for (std::size_t i = 0; i < count; ++i) {
        wchar_t unit = page.units[source[i]];
        if (unit == kLeadByte) {
            // A terminator is never the second byte of a pair.
            if (i + 1 == count || source[i + 1] == 0) {
                unit = page.defaultUnit;
            } else {
                unit = page.pairs[source[i] - 0x80][source[i + 1]];
                ++i;
            }
        }
        target.Put(&unit, 1);
    }
}

// For single-byte pages too: this one also looks at what is not stored.
bool EncodePairs(const CodePage& page, const wchar_t* source, std::size_t count,
                 Target<char>& target, const char* defaultChar)
{
    const bool wideDefault = page.units[static_cast<unsigned char>(defaultChar[0])] == kLeadByte;
    bool usedDefault = false;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint16_t bytes = EncodeUnit(page, source[i]);
        const char pair[] = {static_cast<char>(bytes >> 8), static_cast<char>(bytes & 0xFF)};
        if (bytes == 0 && source[i] != 0) {
            target.Put(defaultChar, wideDefault ? 2 : 1);
            usedDefault = true;
        } else if (bytes > 0xFF) {
            target.Put(pair, 2);
        } else {
            target.Put(pair + 1, 1);
        }
    }
    return usedDefault;
}

// ---- What both directions share -----------------------------------------------------------

// The page, or null with the last error set.
template <class Source, class Result>
const CodePage* CheckArguments(UINT codePage, DWORD flags, const Source* source, int sourceLength,
                               const Result* target, int targetSize)
{
    const CodePage* const page = FindCodePage(codePage);
    if (page == nullptr || source == nullptr || sourceLength == 0 || targetSize < 0 ||
        (target == nullptr && targetSize != 0)) {
        Fail(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if (flags != 0) {
        Fail(ERROR_INVALID_FLAGS);
        return nullptr;
    }
    return page;
}

// The result of a call that needed `needed` units and had room for `targetSize`.
int Result(std::size_t needed, int targetSize)
{
    if (needed > INT_MAX)
        return Fail(ERROR_INVALID_PARAMETER);
    const int count = static_cast<int>(needed);
    if (targetSize != 0 && count > targetSize)
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    return count;
}

} // namespace

int MultiByteToWideChar(UINT codePage, DWORD flags, const char* source, int sourceLength,
                        wchar_t* target, int targetSize)
{
    const CodePage* const page =
        CheckArguments(codePage, flags, source, sourceLength, target, targetSize);
    if (page == nullptr)
        return 0;
    const std::size_t count =
        sourceLength > 0 ? static_cast<std::size_t>(sourceLength) : std::strlen(source) + 1;
    const auto size = static_cast<std::size_t>(targetSize);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(source);
    if (page->pairs == nullptr) {
        DecodeBytes(*page, bytes, std::min(count, size), target);
        return Result(count, targetSize);
    }
    Target<wchar_t> units(target, size);
    DecodePairs(*page, bytes, count, units);
    return Result(units.Needed(), targetSize);
}

int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* source, int sourceLength,
                        char* target, int targetSize, const char* defaultChar,
                        BOOL* usedDefaultChar)
{
    const CodePage* const page =
        CheckArguments(codePage, flags, source, sourceLength, target, targetSize);
    if (page == nullptr)
        return 0;
    const std::size_t count =
        sourceLength > 0 ? static_cast<std::size_t>(sourceLength) : WideLength(source) + 1;
    const auto size = static_cast<std::size_t>(targetSize);
    if (defaultChar == nullptr)
        defaultChar = "?";
    std::size_t needed = count;
    bool usedDefault = false;
    if (page->pairs == nullptr && (targetSize != 0 || usedDefaultChar == nullptr)) {
        usedDefault = EncodeUnits(*page, source, std::min(count, size), target, defaultChar[0]);
    } else {
        Target<char> bytes(target, size);
        usedDefault = EncodePairs(*page, source, count, bytes, defaultChar);
        needed = bytes.Needed();
    }
    if (usedDefaultChar != nullptr)
        *usedDefaultChar = usedDefault ? TRUE : FALSE;
    return Result(needed, targetSize);
}

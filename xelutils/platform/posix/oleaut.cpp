#include "xelutils/platform/oleaut.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

using ByteCount = std::uint32_t;

// The length in bytes has 31 bits.
constexpr UINT kMaxLength = 0x7FFFFFFF / UINT{sizeof(wchar_t)};

char* BlockOf(BSTR string)
{
    return string == nullptr ? nullptr : reinterpret_cast<char*>(string) - sizeof(ByteCount);
}

// A block for `length` characters with length and terminator in place; the characters are those of
// `oldBlock`, which is gone then, as far as they fit. Null, with `oldBlock` still there, when there
// is no memory.
BSTR Resize(char* oldBlock, UINT length)
{
    if (length > kMaxLength)
        return nullptr;
    const std::size_t textBytes = std::size_t{length} * sizeof(wchar_t);
    void* const block = std::realloc(oldBlock, sizeof(ByteCount) + textBytes + sizeof(wchar_t));
    if (block == nullptr)
        return nullptr;
    const auto byteCount = static_cast<ByteCount>(textBytes);
    std::memcpy(block, &byteCount, sizeof byteCount);
    const auto string = reinterpret_cast<BSTR>(static_cast<char*>(block) + sizeof byteCount);
    string[length] = 0;
    return string;
}

} // namespace

BSTR SysAllocStringLen(const wchar_t* text, UINT length)
{
    const BSTR string = Resize(nullptr, length);
    if (string != nullptr && text != nullptr)
        std::copy_n(text, length, string);
    return string;
}

int SysReAllocStringLen(BSTR* string, const wchar_t* text, UINT length)
{
    if (string == nullptr)
        return FALSE;
    // The text may lie in the old string, which therefore goes last.
    const BSTR replacement =
        text == nullptr ? Resize(BlockOf(*string), length) : SysAllocStringLen(text, length);
    if (replacement == nullptr)
        return FALSE;
    if (text != nullptr)
        SysFreeString(*string);
    *string = replacement;
    return TRUE;
}

UINT SysStringLen(BSTR string)
{
    if (string == nullptr)
        return 0;
    ByteCount byteCount;
    std::memcpy(&byteCount, BlockOf(string), sizeof byteCount);
    return byteCount / UINT{sizeof(wchar_t)};
}

void SysFreeString(BSTR string)
{
    std::free(BlockOf(string));
}

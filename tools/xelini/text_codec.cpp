#include "tools/xelini/text_codec.h"

#include <cstdio>
#include <cstring>

#include "tools/xelini/code_page.h"
#include "tools/xelini/failure.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/text/xel_utf.h"

namespace xelini {

namespace {

// No code page spends more bytes on a UTF-16 unit.
constexpr std::size_t kMaxBytesOfUnit = 4;

Text decodeNarrow(std::string_view bytes)
{
    if (bytes.empty())
        return {};
    const int size = static_cast<int>(bytes.size());
    Text text;
    // A code page never makes more units than it had bytes.
    const int length =
        MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, text.GetBuffer(size), size);
    text.ReleaseBuffer(length);
    return text;
}

std::optional<std::string> encodeNarrow(const Text& text)
{
    std::string bytes(static_cast<std::size_t>(text.GetLength()) * kMaxBytesOfUnit, '\0');
    if (bytes.empty())
        return bytes;
    BOOL usedDefault = FALSE;
    const int size = WideCharToMultiByte(CP_ACP, 0, text, text.GetLength(), bytes.data(),
                                         static_cast<int>(bytes.size()), nullptr, &usedDefault);
    bytes.resize(static_cast<std::size_t>(size));
    // The second test refuses a code page's "nearest" character.
    if (usedDefault || !sameText(decodeNarrow(bytes), text))
        return std::nullopt;
    return bytes;
}

bool isHighSurrogate(char16_t unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}
bool isLowSurrogate(char16_t unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

std::string describeCharacter(std::u16string_view units)
{
    unsigned long code = units[0];
    if (units.size() == 2)
        code = 0x10000 + ((code - 0xD800) << 10) + (units[1] - 0xDC00u);
    char name[16];
    std::snprintf(name, sizeof name, "U+%04lX", code);
    if (units.size() == 1 && (isHighSurrogate(units[0]) || isLowSurrogate(units[0])))
        return name;
    return "'" + xel_text::ToUtf8(xel_text::FromUtf16(units)) + "' (" + name + ")";
}

} // namespace

Text decode(std::string_view bytes, Width width)
{
    if (width == Width::narrow)
        return decodeNarrow(bytes);
    std::u16string units(bytes.size() / 2, u'\0');
    std::memcpy(units.data(), bytes.data(), units.size() * 2);
    return xel_text::FromUtf16(units);
}

std::optional<std::string> encode(const Text& text, Width width)
{
    if (width == Width::narrow)
        return encodeNarrow(text);
    const std::u16string_view units = xel_text::ToUtf16(text);
    return std::string(reinterpret_cast<const char*>(units.data()), units.size() * 2);
}

std::string firstUnencodable(const Text& text)
{
    const std::u16string_view units = xel_text::ToUtf16(text);
    for (std::size_t i = 0, length; i < units.size(); i += length) {
        const bool isPair =
            isHighSurrogate(units[i]) && i + 1 < units.size() && isLowSurrogate(units[i + 1]);
        length = isPair ? 2 : 1;
        const std::u16string_view character = units.substr(i, length);
        if (!encodeNarrow(xel_text::FromUtf16(character)))
            return describeCharacter(character);
    }
    return "a character";
}

bool hasUndefinedBytes(std::string_view bytes)
{
    const Text text = decodeNarrow(bytes);
    if (encodeNarrow(text) == bytes)
        return false;
    const wchar_t standIn = unitOfUndefinedBytes();
    std::size_t at = 0;
    for (const wchar_t unit : text) {
        const std::optional<std::string> own = encodeNarrow(Text(unit, 1));
        if (!own || (unit == standIn && bytes.substr(at, own->size()) != *own))
            return true;
        at += own->size();
    }
    return false;
}

bool sameText(const Text& first, const Text& second)
{
    return xel_text::ToUtf16(first) == xel_text::ToUtf16(second);
}

Text fromArgument(const std::string& argument)
{
    bool wellFormed = false;
    Text text = xel_text::FromUtf8(argument, &wellFormed);
    if (!wellFormed)
        throw Failure{Status::failed, "argument '" + xel_text::ToUtf8(text) + "' is not UTF-8"};
    return text;
}

std::size_t zeroPosition(std::string_view bytes, Width width)
{
    const std::size_t size = unitSize(width);
    for (std::size_t at = 0; at + size <= bytes.size(); at += size)
        if (bytes.substr(at, size).find_first_not_of('\0') == std::string_view::npos)
            return at;
    return std::string_view::npos;
}

} // namespace xelini

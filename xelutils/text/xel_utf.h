// Between the library's wide strings and the UTF-8 and UTF-16 of other programs.
#pragma once

#include <string>
#include <string_view>

#include "xelutils/text/xel_string.h"

namespace xel_text {

// The stored text, zero characters included, as UTF-8. A surrogate without its partner becomes
// U+FFFD (EF BF BD).
XELUTILS_API std::string ToUtf8(const CXelStringT<wchar_t>& text);

// The text of UTF-8 bytes, zeros included. Ill-formed bytes become U+FFFD, one for each maximal
// piece of a sequence (as the Unicode standard recommends); nothing is dropped. `wellFormed`
// tells whether there were none; it may be null. More than INT_MAX bytes give the empty string,
// and false.
XELUTILS_API CXelStringT<wchar_t> FromUtf8(std::string_view utf8, bool* wellFormed = nullptr);

// The stored text, in place: valid until the string is next changed. Units are not checked.
inline std::u16string_view ToUtf16(const CXelStringT<wchar_t>& text)
{
    return {reinterpret_cast<const char16_t*>(text.begin()),
            static_cast<std::size_t>(text.end() - text.begin())};
}

// Takes the units as they are; more than INT_MAX give the empty string.
XELUTILS_API CXelStringT<wchar_t> FromUtf16(std::u16string_view utf16);

} // namespace xel_text

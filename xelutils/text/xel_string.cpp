#include "xelutils/text/xel_string.h"

#include <ostream>
#include <string_view>

#include "xelutils/text/internal/xel_string_core.h"
#include "xelutils/text/internal/xel_string_edit.h"
#include "xelutils/text/internal/xel_string_format.h"

namespace xel_text {

namespace detail {

constinit NilData g_nilData = {{-1, 0, 0}, {0, 0}};
constinit wchar_t* const g_emptyString = g_nilData.characters;

} // namespace detail

template class CXelStringT<char>;
template class CXelStringT<wchar_t>;

// ---- Joining -------------------------------------------------------------------------------

template <class T>
CXelStringT<T> ConcatTexts(const T* first, int firstLength, const T* second, int secondLength)
{
    CXelStringT<T> joined;
    joined.ConcatCopy(std::max(firstLength, 0), first, std::max(secondLength, 0), second);
    return joined;
}

template <class T> int TextLength(const T* text)
{
    return text ? detail::CheckedLength(static_cast<std::int64_t>(scan::Length(text))) : 0;
}

template CXelStringT<char> ConcatTexts(const char*, int, const char*, int);
template CXelStringT<wchar_t> ConcatTexts(const wchar_t*, int, const wchar_t*, int);
template int TextLength(const char*);
template int TextLength(const wchar_t*);

// ---- Comparing and hashing -----------------------------------------------------------------

namespace {

int CompareUnits(const char* first, const char* second)
{
    return std::strcmp(first, second);
}

int CompareUnits(const wchar_t* first, const wchar_t* second)
{
    while (*first != 0 && *first == *second) {
        ++first;
        ++second;
    }
    const auto a = static_cast<std::uint16_t>(*first);
    const auto b = static_cast<std::uint16_t>(*second);
    return (a > b) - (a < b);
}

} // namespace

template <class T> int CompareTexts(const T* first, const T* second)
{
    static constexpr T kEmpty{};
    return CompareUnits(first ? first : &kEmpty, second ? second : &kEmpty);
}
template int CompareTexts(const char*, const char*);
template int CompareTexts(const wchar_t*, const wchar_t*);

template <class T> std::size_t HashText(const T* text)
{
    const std::string_view bytes(reinterpret_cast<const char*>(text),
                                 scan::Length(text) * sizeof(T));
    return std::hash<std::string_view>{}(bytes);
}
template std::size_t HashText(const char*);
template std::size_t HashText(const wchar_t*);

// ---- Printing ------------------------------------------------------------------------------

namespace {

void PrintUnit(unsigned unit, int digits, std::ostream& out)
{
    if (unit >= 0x20 && unit < 0x7F && unit != '"' && unit != '\\') {
        out << static_cast<char>(unit);
        return;
    }
    out << '\\' << (digits == 2 ? 'x' : 'u');
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        out << "0123456789ABCDEF"[(unit >> shift) & 0xF];
}

template <class T> void Print(const CXelStringT<T>& text, std::ostream& out)
{
    constexpr int kDigits = 2 * sizeof(T);
    out << '"';
    for (const T unit : text)
        PrintUnit(static_cast<std::make_unsigned_t<
                      std::conditional_t<sizeof(T) == 1, signed char, std::int16_t>>>(unit),
                  kDigits, out);
    out << '"';
}

} // namespace

void PrintTo(const CXelStringT<char>& text, std::ostream* out)
{
    Print(text, *out);
}

void PrintTo(const CXelStringT<wchar_t>& text, std::ostream* out)
{
    Print(text, *out);
}

} // namespace xel_text

// What may stand among the arguments of a formatting call: numbers, characters, enumerations,
// pointers, and strings, which hand over their characters. A class object that went through "..."
// as it is would arrive as nonsense, so any other class does not compile.
#pragma once

#include <concepts>
#include <cstddef>
#include <type_traits>

#include "xelutils/platform/framework.h"

namespace xel_text {

template <class T> class CXelStringT;

namespace detail {

template <class Argument>
concept PlainArgument =
    (std::is_integral_v<Argument> && !std::same_as<Argument, char>) ||
    std::is_pointer_v<Argument> || std::same_as<Argument, float> || std::same_as<Argument, double>;

template <PlainArgument Argument> Argument FormatArgument(Argument argument)
{
    return argument;
}

// A char has a sign on the device, whatever it has on the host.
template <std::same_as<char> Argument> int FormatArgument(Argument argument)
{
    return static_cast<signed char>(argument);
}

// On the device the two are one type, and formats are written for it.
template <std::same_as<long double> Argument> double FormatArgument(Argument argument)
{
    return static_cast<double>(argument);
}

template <class Argument>
requires std::is_enum_v<Argument>
auto FormatArgument(Argument argument)
{
    return static_cast<std::underlying_type_t<Argument>>(argument);
}

inline const void* FormatArgument(std::nullptr_t)
{
    return nullptr;
}

// Valid as long as the string is.
template <class T> const T* FormatArgument(const CXelStringT<T>& text)
{
    return text.GetString();
}

// Not for what only converts to a CString, a temporary one.
template <std::derived_from<CString> Text> const wchar_t* FormatArgument(const Text& text)
{
    return static_cast<const CString&>(text);
}

template <class Argument>
concept Formattable = requires(const Argument& argument)
{
    FormatArgument(argument);
};

template <class... Arguments> constexpr void CheckFormattable()
{
    static_assert((Formattable<Arguments> && ...),
                  "only numbers, pointers and strings can be formatted");
}

} // namespace detail
} // namespace xel_text

// Between the bytes of a settings file and the library's strings.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "xelutils/text/xel_string.h"

namespace xelini {

using Text = xel_text::CXelStringT<wchar_t>;

// Bytes of a character unit: 8-bit text in the system's code page, or UTF-16LE.
enum class Width { narrow = 1, wide = 2 };

constexpr std::size_t unitSize(Width width)
{
    return static_cast<std::size_t>(width);
}

// Every unit of `bytes`, zeros included. Half a unit at the end is dropped.
Text decode(std::string_view bytes, Width width);

// Where the first zero character begins, in bytes, or std::string_view::npos.
std::size_t zeroPosition(std::string_view bytes, Width width);

// Nothing when the code page cannot hold a character. Decoding gives the same text again.
std::optional<std::string> encode(const Text& text, Width width);

// The first character that the code page cannot hold, for a message: '中' (U+4E2D).
std::string firstUnencodable(const Text& text);

// Whether 8-bit text has bytes that stand for no character of the code page. Two ways to write the
// same character are not meant.
bool hasUndefinedBytes(std::string_view bytes);

// The whole stored text, which the strings' own == does not look at behind a zero character.
bool sameText(const Text& first, const Text& second);

// An argument of the command line. Throws Failure when it is not UTF-8.
Text fromArgument(const std::string& argument);

} // namespace xelini

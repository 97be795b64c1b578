// The numbers of the run-time's scanner, read from the start of a text of which `width` units
// count at most. Only the digits 0 to 9 are digits, and the locale plays no part.
#pragma once

#include <cstddef>
#include <cstdint>

struct ScannedInteger {
    // Where the number ends; null when there is none.
    const wchar_t* end;
    // Modulo 2^64.
    std::uint64_t value;
};

// [sign] digits, of the base that the letter of a conversion stands for: d u 10, o 8, p 16; x and
// X 16 with 0x before the digits or not; i what the number's own prefix says.
ScannedInteger ScanInteger(wchar_t kind, const wchar_t* text, std::size_t width);

// [sign] digits [. digits] [e [sign] digits], with a digit before or behind the point; an e without
// digits is no part of the number. Returns where it ends and stores the nearest value, infinity
// when that is too large; null, with nothing stored, when there is no number.
const wchar_t* ScanFloat(const wchar_t* text, std::size_t width, float& value);
const wchar_t* ScanFloat(const wchar_t* text, std::size_t width, double& value);

// Numbers as text and back, lists of values, and tokens.
//
// Texts are wide strings. The decimal point is "." whatever the locale of the program. Nothing
// here throws or keeps a pointer it was given; a null text counts as the empty one.
#pragma once

#include <vector>

#include "xelutils/export.h"
#include "xelutils/formats/xel_array.h"
#include "xelutils/memory/xel_dl_allocator.h"
#include "xelutils/platform/framework.h"
#include "xelutils/text/xel_string.h"

namespace xel_formats {

using xel_text::CXelStringT;

// The types of list that the functions below take.
using StringArray = xel_templ::CXelArray<CXelStringT<wchar_t>, const CXelStringT<wchar_t>&>;
using UIntArray = xel_templ::CXelArray<unsigned int, const unsigned int&>;
using StringVector =
    std::vector<CXelStringT<wchar_t>, xel_mem::xel_dl_allocator<CXelStringT<wchar_t>>>;

// ---- Narrow and wide text ------------------------------------------------------------------

// Widens `source` by the system's code page, as the string's own assignment does: null leaves the
// text of a target that shares it with nobody.
XELUTILS_API void ASCII2String(const char* source, CXelStringT<wchar_t>& target);

// Copies the low 8 bits of the first n characters, n being the smaller of the two lengths, zero
// characters included and without a code page, and writes a zero byte behind them, at target[n].
// The buffer must so have room for targetLength + 1 bytes; callers pass one less than its size.
// Of a null source or with a negative source length nothing is copied, the zero byte is written;
// with a negative target length nothing is written.
//
//   "abcdef", 3, target of 11 bytes, 10   =>  "abc", a zero at target[3]
//   U+20AC, 1                             =>  the byte AC
XELUTILS_API void String2ASCII(const wchar_t* source, int sourceLength, char* target,
                               int targetLength);

// ---- Numbers to text -----------------------------------------------------------------------

// Rounds to `decimals` places (0 for a negative number): the fraction is shifted, 0.5 is added and
// the rest cut off towards zero, whatever the sign. Callers rely on what this does to negative
// values.
//
//   1.25, 1   =>   1.3
//  -1.25, 1   =>  -1.2
//  -1.26, 1   =>  -1.2
//
// Whole part and shifted fraction are each kept within 32 bits: what lies outside becomes the
// nearest such number, NaN becomes 0.
XELUTILS_API double FormatFloat(double value, int decimals);

// Hours, minutes and seconds; hours are not reduced to days. A negative span counts as the
// unsigned number of the same 32 bits.
//
//   90061 seconds   =>  25:01:01
XELUTILS_API CXelStringT<wchar_t> TimeSpanToString(const CTimeSpan& span);

XELUTILS_API CXelStringT<wchar_t> IntToString(int value);
XELUTILS_API CXelStringT<wchar_t> UIntToString(unsigned int value);
XELUTILS_API CXelStringT<wchar_t> Int64ToString(long long value);

// Twelve decimals without their trailing zeros; then the first 14 characters of a text without a
// decimal point, 15 of one with it. The cut does not round, and may end in a bare point.
//
//   1.5     =>  1.5
//   2.0     =>  2
//   1e20    =>  10000000000000
//   12345678901234.5  =>  12345678901234.
XELUTILS_API CXelStringT<wchar_t> DoubleToString(double value);

// Exactly `precision` decimals, 6 for a negative number; at least 3 characters for 1 decimal.
// Texts are cut at 2048 characters.
//
//   2.0, 1    =>  2.0
//   1.0, 0    =>  1
//   1.0, 10   =>  1.0000000000
XELUTILS_API CXelStringT<wchar_t> DoubleToString(double value, int precision);

// ---- Text to numbers -----------------------------------------------------------------------

// False, and 0, when no number begins the text. White space in front is skipped, what follows the
// number is ignored. Numbers that do not fit wrap, or become infinite.
//
//   " 42x"   =>  true, 42
//   "abc"    =>  false, 0
//
// The first comma counts as a decimal point (only the first, unlike ReplaceCommasWithDecPt).
//
//   "1,5,2"  =>  true, 1.5
XELUTILS_API bool StringToDouble(const CXelStringT<wchar_t>& text, double& value);
XELUTILS_API bool StringToInt(const wchar_t* text, int& value);
// 32 bits with their sign, also where long has 64.
XELUTILS_API bool StringToLong(const wchar_t* text, long& value);
XELUTILS_API bool StringToUint(const wchar_t* text, unsigned int& value);
XELUTILS_API bool StringToInt64(const wchar_t* text, long long& value);
XELUTILS_API bool StringToShort(const wchar_t* text, short& value);

// Every comma becomes a point. A text without one is shared with the result.
XELUTILS_API CXelStringT<wchar_t> ReplaceCommasWithDecPt(const CXelStringT<wchar_t>& text);

// ---- Lists ---------------------------------------------------------------------------------
//
// Values are appended to what the list holds. White space around a value and all of its carriage
// returns and line feeds are taken away. Texts may be elements of the lists they go to. Behind a
// zero character in what is left of a text, no delimiter is looked for.

// Splits at any character of `delimiters`. A delimiter in front of what is left ends the
// splitting: the rest, delimiter included, is the last value. Always true.
//
//   "a, b ,c", ","  =>  "a" "b" "c"
//   "a,,b", ","     =>  "a" ",b"
//   "a,", ","       =>  "a"
//   "", ","         =>  ""
XELUTILS_API bool ParseDelimitersValues(const CXelStringT<wchar_t>& text, StringArray& values,
                                        const CXelStringT<wchar_t>& delimiters);

// Splits at `delimiter`, which is widened with its sign: E9 stands for U+FFE9. A delimiter as the
// first character does not split. False at the first value that holds a character of `forbidden`;
// it is not appended, those before it are.
//
//   "a,,b", ','              =>  true,  "a" "" "b"
//   "a,", ','                =>  true,  "a"
//   ",a", ','                =>  true,  ",a"
//   "a;b=c;d", ';', "="      =>  false, "a"
XELUTILS_API bool ParseValues(const CXelStringT<wchar_t>& text, StringArray& values, char delimiter,
                              const CXelStringT<wchar_t>& forbidden);

// The values with "," between them; nothing is quoted.
//
//   "a" "" "b"   =>  a,,b
XELUTILS_API CXelStringT<wchar_t> StringArrayToString(const StringArray& values);

// Case counts; up to the first zero character.
XELUTILS_API bool IsStringInStringArray(const StringArray& values,
                                        const CXelStringT<wchar_t>& text);

// Compares as 32-bit values: -1 finds 0xFFFFFFFF.
XELUTILS_API bool IsUIntInUIntArray(const UIntArray& values, int value);

// ---- Tokens --------------------------------------------------------------------------------

// The next token from `position` on, which moves past the delimiter that ends it and becomes -1,
// with an empty result, when there is no further one. Runs of delimiters count as one. A zero
// character ends a token too, though not a run of delimiters: an empty token may follow it.
//
//   " a  b ", " "   =>  "a", then "b", then "" and -1
//
// Without delimiters (null or empty) the rest of the text is returned and `position` stays: do
// not loop on it.
XELUTILS_API CXelStringT<wchar_t> Tokenize(const CXelStringT<wchar_t>& text,
                                           const wchar_t* delimiters, int& position);

// All tokens; `tokens` is emptied first. Without delimiters the whole text, unless it is empty, is
// the only token. Text and delimiters may be elements of `tokens`.
XELUTILS_API void Tokenize(const CXelStringT<wchar_t>& text, StringVector& tokens,
                           const wchar_t* delimiters);

} // namespace xel_formats

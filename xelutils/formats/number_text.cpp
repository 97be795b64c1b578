// Narrow and wide text; numbers to text and back. Numbers go through the string's Format and the
// run-time's scanner, which do not look at the program's locale.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "xelutils/formats/xel_formats.h"

namespace xel_formats {

namespace {

using String = CXelStringT<wchar_t>;

// A result as a double has it, also where the processor calculates with more digits or makes one
// step of two.
double AsDouble(double result)
{
    const volatile double stored = result;
    return stored;
}

// Towards zero to 32 bits, without a negative zero.
double Truncated(double value)
{
    constexpr double kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr double kHighest = std::numeric_limits<std::int32_t>::max();
    if (std::isnan(value))
        return 0;
    return static_cast<std::int32_t>(std::clamp(value, kLowest, kHighest));
}

template <class... Arguments> String Formatted(const wchar_t* pattern, Arguments... arguments)
{
    String text;
    text.Format(pattern, arguments...);
    return text;
}

template <class Number> bool Scanned(const wchar_t* text, const wchar_t* pattern, Number& value)
{
    if (text && *text != 0 && swscanf(text, pattern, &value) == 1)
        return true;
    value = Number{};
    return false;
}

} // namespace

// ---- Narrow and wide text ------------------------------------------------------------------

void ASCII2String(const char* source, String& target)
{
    target = source;
}

void String2ASCII(const wchar_t* source, int sourceLength, char* target, int targetLength)
{
    if (!target || targetLength < 0)
        return;
    const int length = source ? std::clamp(sourceLength, 0, targetLength) : 0;
    std::transform(source, source + length, target,
                   [](wchar_t ch) { return static_cast<char>(ch & 0xFF); });
    target[length] = 0;
}

// ---- Numbers to text -----------------------------------------------------------------------

double FormatFloat(double value, int decimals)
{
    double scale = 1;
    // What is infinite stays so: many decimals need no more steps than that takes.
    for (int i = 0; i < decimals && !std::isinf(scale); ++i)
        scale = AsDouble(scale * 10);
    const double whole = Truncated(value);
    const double shifted = AsDouble(AsDouble(value - whole) * scale);
    return AsDouble(AsDouble(Truncated(AsDouble(shifted + 0.5)) / scale) + whole);
}

String TimeSpanToString(const CTimeSpan& span)
{
    constexpr unsigned kSecondsPerMinute = 60;
    constexpr unsigned kMinutesPerHour = 60;
    const auto seconds = static_cast<std::uint32_t>(span.GetTotalSeconds());
    const unsigned minutes = seconds / kSecondsPerMinute;
    return Formatted(L"%02d:%02d:%02d", minutes / kMinutesPerHour, minutes % kMinutesPerHour,
                     seconds % kSecondsPerMinute);
}

String IntToString(int value)
{
    return Formatted(L"%d", value);
}

String UIntToString(unsigned int value)
{
    return Formatted(L"%u", value);
}

String Int64ToString(long long value)
{
    return Formatted(L"%I64d", value);
}

String DoubleToString(double value)
{
    // Fields of the applications are so wide; digits beyond are dropped, not rounded.
    constexpr int kLongestWhole = 14;
    constexpr int kLongestWithPoint = 15;

    String text = Formatted(L"%.12lf", value);
    int length = text.GetLength();
    while (length > 0 && text.GetAt(length - 1) == L'0')
        --length;
    const int point = text.Find(L'.');
    if (point >= 0 && point == length - 1)
        --length;
    const bool hasPoint = point >= 0 && point < length;
    text.Truncate(std::min(length, hasPoint ? kLongestWithPoint : kLongestWhole));
    return text;
}

String DoubleToString(double value, int precision)
{
    if (precision == 1)
        return Formatted(L"%3.1lf", value);
    // A negative precision counts as none, which means 6.
    return Formatted(L"%.*lf", precision, value);
}

// ---- Text to numbers -----------------------------------------------------------------------

bool StringToDouble(const String& text, double& value)
{
    const int comma = text.Find(L',');
    if (comma < 0)
        return Scanned(text, L"%lf", value);
    String withPoint(text);
    withPoint.SetAt(comma, L'.');
    return Scanned(withPoint, L"%lf", value);
}

bool StringToInt(const wchar_t* text, int& value)
{
    return Scanned(text, L"%d", value);
}

bool StringToLong(const wchar_t* text, long& value)
{
    LONG scanned;
    const bool found = Scanned(text, L"%ld", scanned);
    value = scanned;
    return found;
}

bool StringToUint(const wchar_t* text, unsigned int& value)
{
    return Scanned(text, L"%u", value);
}

bool StringToInt64(const wchar_t* text, long long& value)
{
    return Scanned(text, L"%I64d", value);
}

bool StringToShort(const wchar_t* text, short& value)
{
    return Scanned(text, L"%hd", value);
}

String ReplaceCommasWithDecPt(const String& text)
{
    String replaced(text);
    if (text.Find(L',') >= 0)
        replaced.Replace(L',', L'.');
    return replaced;
}

} // namespace xel_formats

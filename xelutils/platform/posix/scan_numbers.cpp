#include "xelutils/platform/posix/scan_numbers.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>

namespace {

// Text as far as a width goes. Behind its end is a zero.
class Field {
public:
    Field(const wchar_t* text, std::size_t width) : m_at(text), m_left(width) {}

    wchar_t Peek() const { return m_left == 0 ? wchar_t{0} : *m_at; }
    // The unit behind Peek(), which is not the end.
    wchar_t PeekBehind() const { return m_left < 2 ? wchar_t{0} : m_at[1]; }
    void Skip()
    {
        ++m_at;
        --m_left;
    }
    // True for a minus sign.
    bool SkipSign()
    {
        const wchar_t unit = Peek();
        if (unit == L'-' || unit == L'+')
            Skip();
        return unit == L'-';
    }
    const wchar_t* Position() const { return m_at; }

private:
    const wchar_t* m_at;
    std::size_t m_left;
};

// ---- Integers -----------------------------------------------------------------------------

bool SkipHexPrefix(Field& field)
{
    if (field.Peek() != L'0' || (field.PeekBehind() | 0x20) != L'x')
        return false;
    field.Skip();
    field.Skip();
    return true;
}

// Not below 16 for what is no digit of any base.
unsigned DigitValue(wchar_t unit)
{
    const unsigned decimal = static_cast<unsigned>(unit) - '0';
    if (decimal < 10)
        return decimal;
    const unsigned letter = (static_cast<unsigned>(unit) | 0x20) - 'a';
    return letter < 6 ? letter + 10 : 16;
}

// A loop of its own, because the run-time's numbers wrap: no conversion of the standard library
// does that.
template <unsigned kBase> ScannedInteger ReadDigits(Field field)
{
    const wchar_t* const start = field.Position();
    std::uint64_t value = 0;
    for (;;) {
        const wchar_t unit = field.Peek();
        const unsigned digit = kBase > 10 ? DigitValue(unit) : static_cast<unsigned>(unit) - '0';
        if (digit >= kBase)
            break;
        value = value * kBase + digit;
        field.Skip();
    }
    return {field.Position() != start ? field.Position() : nullptr, value};
}

ScannedInteger ReadUnsigned(wchar_t kind, Field field)
{
    if (kind == L'd' || kind == L'u')
        return ReadDigits<10>(field);
    switch (kind) {
    case L'o':
        return ReadDigits<8>(field);
    case L'x':
    case L'X':
        SkipHexPrefix(field);
        return ReadDigits<16>(field);
    case L'i':
        if (SkipHexPrefix(field))
            return ReadDigits<16>(field);
        return field.Peek() == L'0' ? ReadDigits<8>(field) : ReadDigits<10>(field);
    default:
        return ReadDigits<16>(field);
    }
}

// ---- Floats -------------------------------------------------------------------------------

bool IsDigit(wchar_t unit)
{
    return static_cast<unsigned>(unit) - '0' < 10;
}

// Where the parts of a number stand.
struct FloatParts {
    bool isNegative;
    const wchar_t* whole;
    const wchar_t* wholeEnd;
    // The same when there is no point.
    const wchar_t* fraction;
    const wchar_t* fractionEnd;
    // What the number itself says.
    std::int64_t exponent;
    // Null when it is no number.
    const wchar_t* end;
};

const wchar_t* SkipDigits(Field& field)
{
    while (IsDigit(field.Peek()))
        field.Skip();
    return field.Position();
}

// Returns where the number ends.
const wchar_t* ReadExponent(Field field, std::int64_t& exponent)
{
    // More than any text has digits to make up for.
    constexpr std::int64_t kLargest = std::int64_t{1} << 56;
    const wchar_t* const start = field.Position();
    field.Skip();
    const bool isNegative = field.SkipSign();
    if (!IsDigit(field.Peek()))
        return start;
    std::int64_t value = 0;
    for (; IsDigit(field.Peek()); field.Skip())
        value = std::min(value * 10 + (field.Peek() - L'0'), kLargest);
    exponent = isNegative ? -value : value;
    return field.Position();
}

FloatParts ReadParts(Field field)
{
    FloatParts parts;
    parts.isNegative = field.SkipSign();
    parts.whole = field.Position();
    parts.wholeEnd = SkipDigits(field);
    if (field.Peek() == L'.')
        field.Skip();
    parts.fraction = field.Position();
    parts.fractionEnd = SkipDigits(field);
    parts.exponent = 0;
    parts.end = field.Position();
    if (parts.whole == parts.wholeEnd && parts.fraction == parts.fractionEnd)
        parts.end = nullptr;
    else if (field.Peek() == L'e' || field.Peek() == L'E')
        parts.end = ReadExponent(field, parts.exponent);
    return parts;
}

// A number as digits and an exponent, without leading zeros and without a point: so the C library
// can convert it, whatever the locale's point is.
class Decimal {
public:
    explicit Decimal(const FloatParts& parts);

    const char* Text() const { return m_text; }

private:
    void AddDigits(const wchar_t* digits, const wchar_t* end);

    // Which of two neighbouring values a number is nearest to is certain after 767 digits and the
    // knowledge whether all further ones are zero: a 1 stands for those that are not.
    static constexpr std::size_t kMaxDigits = 800;
    static constexpr std::size_t kExponentChars = 16;

    std::size_t m_count = 0;
    std::int64_t m_dropped = 0;
    bool m_anyDropped = false;
    char m_text[kMaxDigits + 1 + kExponentChars];
};

void Decimal::AddDigits(const wchar_t* digits, const wchar_t* end)
{
    for (; digits != end; ++digits) {
        if (m_count == kMaxDigits) {
            m_anyDropped |= *digits != L'0';
            ++m_dropped;
        } else if (m_count != 0 || *digits != L'0') {
            m_text[m_count++] = static_cast<char>(*digits);
        }
    }
}

Decimal::Decimal(const FloatParts& parts)
{
    AddDigits(parts.whole, parts.wholeEnd);
    AddDigits(parts.fraction, parts.fractionEnd);
    std::int64_t exponent = parts.exponent + m_dropped - (parts.fractionEnd - parts.fraction);
    if (m_anyDropped) {
        m_text[m_count++] = '1';
        --exponent;
    }
    if (m_count == 0)
        m_text[m_count++] = '0';
    // Beyond these no digits in the text bring a value back into range.
    constexpr std::int64_t kLargest = 99999;
    char* end = m_text + m_count;
    *end++ = 'e';
    *std::to_chars(end, end + kExponentChars - 2, std::clamp(exponent, -kLargest, kLargest)).ptr =
        0;
}

float FromCLibrary(const char* text, float)
{
    return std::strtof(text, nullptr);
}

double FromCLibrary(const char* text, double)
{
    return std::strtod(text, nullptr);
}

// Of long numbers, and of those that from_chars only calls out of range (by some versions the
// denormals too): the C library has infinity, zero and the denormal for them.
template <class Float> [[gnu::noinline]] Float ValueOfAny(const FloatParts& parts)
{
    const int error = errno;
    const Float value = FromCLibrary(Decimal(parts).Text(), Float{});
    errno = error;
    return value;
}

template <class Float> Float ValueOf(const FloatParts& parts)
{
    constexpr std::ptrdiff_t kMaxLength = 64;
    char text[kMaxLength];
    if (parts.end - parts.whole > kMaxLength)
        return ValueOfAny<Float>(parts);
    char* end = text;
    for (const wchar_t* at = parts.whole; at != parts.end; ++at)
        *end++ = static_cast<char>(*at);
    Float value;
    if (std::from_chars(text, end, value).ec != std::errc())
        return ValueOfAny<Float>(parts);
    return value;
}

template <class Float> const wchar_t* Scan(const Field& field, Float& value)
{
    const FloatParts parts = ReadParts(field);
    if (parts.end == nullptr)
        return nullptr;
    value = ValueOf<Float>(parts);
    if (parts.isNegative)
        value = -value;
    return parts.end;
}

} // namespace

ScannedInteger ScanInteger(wchar_t kind, const wchar_t* text, std::size_t width)
{
    Field field(text, width);
    const bool negative = field.SkipSign();
    ScannedInteger integer = ReadUnsigned(kind, field);
    if (negative)
        integer.value = 0 - integer.value;
    return integer;
}

const wchar_t* ScanFloat(const wchar_t* text, std::size_t width, float& value)
{
    return Scan(Field(text, width), value);
}

const wchar_t* ScanFloat(const wchar_t* text, std::size_t width, double& value)
{
    return Scan(Field(text, width), value);
}

#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstring>

#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/decimal.h"
#include "xelutils/platform/posix/format_field.h"
#include "xelutils/platform/posix/format_output.h"

namespace {

// A list of arguments that can be handed on by reference on every host.
struct Arguments {
    va_list list;
};

// ---- Numbers -------------------------------------------------------------------------------

// A number in front of which zeros may be put: sign or "0x", then digits.
struct Number {
    char prefix[2];
    std::size_t prefixLength = 0;
    std::size_t zeros = 0;
    const char* body;
    std::size_t bodyLength;
    // Zeros behind the body (behind a point), and an exponent.
    std::size_t trailingZeros = 0;
    const char* tail = nullptr;
    std::size_t tailLength = 0;

    void Prefix(char character) { prefix[prefixLength++] = character; }
    std::size_t Length() const
    {
        return prefixLength + zeros + bodyLength + trailingZeros + tailLength;
    }
};

template <class T> void PutNumber(FormatOutput<T>& output, const FormatField& field, Number& number)
{
    const std::size_t length = number.Length();
    std::size_t pad = field.width > length ? field.width - length : 0;
    if (field.zero && !field.left) {
        number.zeros += pad;
        pad = 0;
    }
    if (pad != 0 && !field.left)
        output.Fill(' ', pad);
    output.PutAscii(number.prefix, number.prefixLength);
    output.Fill('0', number.zeros);
    output.PutAscii(number.body, number.bodyLength);
    output.Fill('0', number.trailingZeros);
    output.PutAscii(number.tail, number.tailLength);
    if (field.left)
        output.Fill(' ', pad);
}

void PutSign(Number& number, const FormatField& field, bool negative)
{
    if (negative)
        number.Prefix('-');
    else if (field.plus)
        number.Prefix('+');
    else if (field.space)
        number.Prefix(' ');
}

// ---- Integers ------------------------------------------------------------------------------

long long NextSigned(Arguments& arguments, FormatField::Size size)
{
    switch (size) {
    case FormatField::Size::bits16:
        return static_cast<std::int16_t>(va_arg(arguments.list, int));
    case FormatField::Size::bits64:
        return va_arg(arguments.list, long long);
    case FormatField::Size::pointer:
        return va_arg(arguments.list, std::intptr_t);
    default:
        return va_arg(arguments.list, int);
    }
}

unsigned long long NextUnsigned(Arguments& arguments, FormatField::Size size)
{
    const auto value = static_cast<unsigned long long>(NextSigned(arguments, size));
    switch (size) {
    case FormatField::Size::bits16:
        return static_cast<std::uint16_t>(value);
    case FormatField::Size::bits64:
        return value;
    case FormatField::Size::pointer:
        return static_cast<std::uintptr_t>(value);
    default:
        return static_cast<std::uint32_t>(value);
    }
}

// Octal digits of 64 bits are the longest.
constexpr std::size_t kIntegerRoom = 22;

template <class T>
void PutInteger(FormatOutput<T>& output, FormatField field, Number number, unsigned long long value,
                int base)
{
    char digits[kIntegerRoom];
    char* const end = std::to_chars(digits, digits + kIntegerRoom, value, base).ptr;
    number.body = digits;
    number.bodyLength = static_cast<std::size_t>(end - digits);
    if (field.conversion == 'X' || field.conversion == 'p')
        std::transform(digits, end, digits, [](char digit) {
            return digit >= 'a' ? static_cast<char>(digit - 'a' + 'A') : digit;
        });

    if (field.hasPrecision) {
        // A precision of 0 shows nothing of the number 0, and zeros come from the precision alone.
        if (value == 0)
            number.bodyLength = 0;
        if (field.precision > number.bodyLength)
            number.zeros = field.precision - number.bodyLength;
        field.zero = false;
    }
    const bool beginsWithZero = number.zeros != 0 || (number.bodyLength != 0 && digits[0] == '0');
    if (field.alternate && base == 8 && !beginsWithZero)
        number.zeros = 1;
    if (field.alternate && base == 16 && value != 0) {
        number.Prefix('0');
        number.Prefix(field.conversion == 'x' ? 'x' : 'X');
    }
    PutNumber(output, field, number);
}

// Most integers are shown as they are, and most formatting is of integers.
template <class T, class Integer> void PutPlain(FormatOutput<T>& output, Integer value)
{
    char digits[kIntegerRoom];
    const auto [end, error] = std::to_chars(digits, digits + kIntegerRoom, value);
    if (error == std::errc()) // always: there is room
        output.PutAscii(digits, static_cast<std::size_t>(end - digits));
}

template <class T>
void PutSigned(FormatOutput<T>& output, const FormatField& field, Arguments& arguments)
{
    const long long value = NextSigned(arguments, field.size);
    if (field.IsPlain()) {
        PutPlain(output, value);
        return;
    }
    Number number;
    PutSign(number, field, value < 0);
    const auto bits = static_cast<unsigned long long>(value);
    PutInteger(output, field, number, value < 0 ? 0 - bits : bits, 10);
}

template <class T>
void PutUnsigned(FormatOutput<T>& output, const FormatField& field, Arguments& arguments, int base)
{
    const unsigned long long value = NextUnsigned(arguments, field.size);
    if (field.IsPlain() && base == 10) {
        PutPlain(output, value);
        return;
    }
    Number number;
    PutInteger(output, field, number, value, base);
}

// All digits of an address, whatever the precision.
template <class T> void PutPointer(FormatOutput<T>& output, FormatField field, Arguments& arguments)
{
    const auto value = reinterpret_cast<std::uintptr_t>(va_arg(arguments.list, void*));
    field.hasPrecision = true;
    field.precision = 2 * sizeof(void*);
    Number number;
    PutInteger(output, field, number, value, 16);
}

// ---- Floating point ------------------------------------------------------------------------

constexpr unsigned kDefaultPrecision = 6;

// What stands for numbers that have no digits. They are rounded like digits: with two decimals
// infinity is "1.#J", as the run-time has always written it.
std::size_t SpecialDigits(double value, unsigned decimals, char* text)
{
    const char* const name = !std::isnan(value)    ? "1.#INF"
                             : std::signbit(value) ? "1.#IND"
                                                   : "1.#QNAN";
    const std::size_t length = std::strlen(name);
    std::memcpy(text, name, length);
    if (decimals + 2 >= length)
        return length;
    const char next = text[decimals + 2];
    const std::size_t rounded = decimals == 0 ? 1 : decimals + 2;
    if (next >= '5')
        ++text[rounded - 1];
    return rounded;
}

// "e+005": at least three digits.
std::size_t PutExponent(int exponent, char mark, char* text)
{
    text[0] = mark;
    text[1] = exponent < 0 ? '-' : '+';
    // A leading one keeps the zeros; the sign takes its place.
    const char sign = text[1];
    std::to_chars(text + 1, text + 5, 1000 + std::abs(exponent));
    text[1] = sign;
    return 5;
}

// The texts of a floating-point number while it is put together.
struct FloatText {
    char body[kDecimalRoom];
    char exponent[8];
};

void WriteFixed(Number& number, FloatText& text, double magnitude, unsigned decimals,
                bool alternate)
{
    const unsigned exact = std::min<unsigned>(decimals, kMaxDecimals);
    number.bodyLength = FixedDigits(magnitude, static_cast<int>(exact), text.body);
    if (decimals == 0 && alternate)
        text.body[number.bodyLength++] = '.';
    number.trailingZeros = decimals - exact;
}

// Digits and a point behind the first of them.
void WriteScientific(Number& number, FloatText& text, double magnitude, unsigned decimals,
                     bool alternate, char mark)
{
    const unsigned exact = std::min<unsigned>(decimals, kMaxSignificant - 1);
    const int exponent = SignificantDigits(magnitude, static_cast<int>(exact) + 1, text.body);
    number.bodyLength = 1;
    if (decimals != 0 || alternate) {
        std::memmove(text.body + 2, text.body + 1, exact);
        text.body[1] = '.';
        number.bodyLength = 2 + exact;
    }
    number.trailingZeros = decimals - exact;
    number.tail = text.exponent;
    number.tailLength = PutExponent(exponent, mark, text.exponent);
}

// The shorter of both forms; trailing zeros go unless the alternate form is wanted.
void WriteGeneral(Number& number, FloatText& text, double magnitude, unsigned significant,
                  bool alternate, char mark)
{
    const unsigned count = significant == 0 ? 1 : significant;
    const unsigned exact = std::min<unsigned>(count, kMaxSignificant);
    char digits[kDecimalRoom];
    const int exponent = SignificantDigits(magnitude, static_cast<int>(exact), digits);
    if (exponent < -4 || (exponent >= 0 && static_cast<unsigned>(exponent) >= count)) {
        WriteScientific(number, text, magnitude, count - 1, alternate, mark);
    } else {
        const unsigned decimals = count - 1 - static_cast<unsigned>(exponent);
        WriteFixed(number, text, magnitude, decimals, alternate);
    }
    if (alternate)
        return;
    number.trailingZeros = 0;
    if (!std::memchr(text.body, '.', number.bodyLength))
        return;
    while (text.body[number.bodyLength - 1] == '0')
        --number.bodyLength;
    if (text.body[number.bodyLength - 1] == '.')
        --number.bodyLength;
}

// Infinity and the like, padded with zeros as if it had digits.
void WriteSpecial(Number& number, FloatText& text, double value, const FormatField& field,
                  unsigned precision)
{
    constexpr unsigned kAll = 9;
    switch (field.conversion) {
    case 'g':
    case 'G':
        number.bodyLength = SpecialDigits(value, precision < 2 ? kAll : precision - 1, text.body);
        return;
    case 'e':
    case 'E':
        number.tail = text.exponent;
        number.tailLength = PutExponent(0, field.conversion, text.exponent);
        break;
    default:
        break;
    }
    number.bodyLength = SpecialDigits(value, precision, text.body);
    if (precision + 2 > number.bodyLength && precision != 0)
        number.trailingZeros = precision + 2 - number.bodyLength;
}

template <class T>
void PutFloat(FormatOutput<T>& output, const FormatField& field, Arguments& arguments)
{
    const double value = va_arg(arguments.list, double);
    const double magnitude = std::fabs(value);
    const unsigned precision = field.hasPrecision ? field.precision : kDefaultPrecision;
    const char mark = field.conversion == 'E' || field.conversion == 'G' ? 'E' : 'e';

    Number number;
    FloatText text;
    number.body = text.body;
    PutSign(number, field, std::signbit(value));
    if (!std::isfinite(value)) {
        WriteSpecial(number, text, value, field, precision);
    } else if (field.conversion == 'f') {
        WriteFixed(number, text, magnitude, precision, field.alternate);
    } else if (field.conversion == mark) {
        WriteScientific(number, text, magnitude, precision, field.alternate, mark);
    } else {
        WriteGeneral(number, text, magnitude, precision, field.alternate, mark);
    }
    PutNumber(output, field, number);
}

// ---- Text ----------------------------------------------------------------------------------

// The length of a text, of which no more than `limit` units are looked at.
template <class U> std::size_t LengthWithin(const U* text, std::size_t limit)
{
    std::size_t length = 0;
    while (length < limit && text[length] != 0)
        ++length;
    return length;
}

// Calls `put` with the padding that the width asks for in front of it or behind it. Zeros pad
// texts too.
template <class T, class Put>
void Pad(FormatOutput<T>& output, const FormatField& field, std::size_t length, Put put)
{
    const std::size_t pad = field.width > length ? field.width - length : 0;
    if (!field.left)
        output.Fill(field.zero ? '0' : ' ', pad);
    put();
    if (field.left)
        output.Fill(' ', pad);
}

// The precision counts units of the text that is given.
std::size_t TextLimit(const FormatField& field)
{
    return field.hasPrecision ? field.precision : static_cast<std::size_t>(INT_MAX);
}

template <class T>
void PutText(FormatOutput<T>& output, const FormatField& field, const T* text, std::size_t length)
{
    Pad(output, field, length, [&] { output.Put(text, length); });
}

template <class T>
void PutText(FormatOutput<T>& output, const FormatField& field,
             const typename FormatOutput<T>::Other* text, std::size_t length)
{
    const std::size_t converted = length == 0 ? 0 : FormatOutput<T>::ConvertedLength(text, length);
    Pad(output, field, converted, [&] { output.PutConverted(text, length, converted); });
}

template <class T, class U>
void PutString(FormatOutput<T>& output, const FormatField& field, const U* text)
{
    static constexpr T kNull[] = {'(', 'n', 'u', 'l', 'l', ')', 0};
    if (text)
        PutText(output, field, text, LengthWithin(text, TextLimit(field)));
    else
        PutText(output, field, kNull, LengthWithin(kNull, TextLimit(field)));
}

// Whether the argument is wide: by its size, else %c and %s are of the format's own width and %C
// and %S of the other.
template <class T> bool IsWideText(const FormatField& field)
{
    if (field.size == FormatField::Size::bits16)
        return false;
    if (field.size == FormatField::Size::bits32 || field.size == FormatField::Size::wide)
        return true;
    const bool own = field.conversion == 'c' || field.conversion == 's';
    return own == std::is_same_v<T, wchar_t>;
}

template <class T>
void PutStringArgument(FormatOutput<T>& output, const FormatField& field, Arguments& arguments)
{
    const void* const text = va_arg(arguments.list, const void*);
    if (IsWideText<T>(field))
        PutString(output, field, static_cast<const wchar_t*>(text));
    else
        PutString(output, field, static_cast<const char*>(text));
}

template <class T>
void PutCharacter(FormatOutput<T>& output, const FormatField& field, Arguments& arguments)
{
    const int value = va_arg(arguments.list, int);
    if (IsWideText<T>(field)) {
        const auto unit = static_cast<wchar_t>(value);
        PutText(output, field, &unit, 1);
    } else {
        const auto unit = static_cast<char>(value);
        PutText(output, field, &unit, 1);
    }
}

// ---- The whole -----------------------------------------------------------------------------

// False when the text ends here.
template <class T>
bool PutArgument(FormatOutput<T>& output, const FormatField& field, Arguments& arguments)
{
    switch (field.conversion) {
    case 'd':
    case 'i':
        PutSigned(output, field, arguments);
        break;
    case 'u':
        PutUnsigned(output, field, arguments, 10);
        break;
    case 'o':
        PutUnsigned(output, field, arguments, 8);
        break;
    case 'x':
    case 'X':
        PutUnsigned(output, field, arguments, 16);
        break;
    case 'p':
        PutPointer(output, field, arguments);
        break;
    case 'c':
    case 'C':
        PutCharacter(output, field, arguments);
        break;
    case 's':
    case 'S':
        PutStringArgument(output, field, arguments);
        break;
    case 'n':
        // A format that stores into the program's memory is a fault, whoever wrote it.
        return false;
    default:
        PutFloat(output, field, arguments);
    }
    return true;
}

template <class T> int Format(T* buffer, std::size_t count, const T* format, va_list list)
{
    FormatOutput<T> output(buffer, buffer ? count : 0);
    Arguments arguments;
    va_copy(arguments.list, list);
    const auto nextInt = [&arguments] { return va_arg(arguments.list, int); };

    const T* at = format;
    while (at && *at != 0 && !output.IsCut()) {
        if (*at != '%') {
            output.Put(*at++);
        } else if (at[1] == '%') {
            output.Put(*at);
            at += 2;
        } else {
            FormatField field;
            at = ReadFormatField(at + 1, field, nextInt);
            if (field.conversion == 0 && *at == '%')
                output.Put(*at++);
            else if (field.conversion != 0 && !PutArgument(output, field, arguments))
                break;
        }
    }
    va_end(arguments.list);
    return output.Finish();
}

} // namespace

int _vsnprintf(char* buffer, SIZE_T count, const char* format, va_list arguments)
{
    return Format(buffer, count, format, arguments);
}

int _vsnwprintf(wchar_t* buffer, SIZE_T count, const wchar_t* format, va_list arguments)
{
    return Format(buffer, count, format, arguments);
}

// One conversion of a format: %[flags][width][.precision][size]conversion.
#pragma once

#include <climits>

struct FormatField {
    // Integers without a size have 32 bits.
    enum class Size { none, bits16, bits32, bits64, pointer, wide };

    bool left = false;
    bool plus = false;
    bool space = false;
    bool alternate = false;
    bool zero = false;
    unsigned width = 0;
    bool hasPrecision = false;
    unsigned precision = 0;
    Size size = Size::none;
    // 0 when there is none that means anything.
    char conversion = 0;

    // Nothing but size and conversion.
    bool IsPlain() const
    {
        return !(left | plus | space | alternate | zero | hasPrecision) && width == 0;
    }
};

namespace format_field {

// Flags stand in front of everything else, in any order and number.
template <class T> const T* ReadFlags(const T* at, FormatField& field)
{
    for (;; ++at) {
        switch (*at) {
        case '-':
            field.left = true;
            break;
        case '+':
            field.plus = true;
            break;
        case ' ':
            field.space = true;
            break;
        case '#':
            field.alternate = true;
            break;
        case '0':
            field.zero = true;
            break;
        default:
            return at;
        }
    }
}

// Digits, perhaps none; too large a number stays the largest.
template <class T> const T* ReadNumber(const T* at, unsigned& number)
{
    number = 0;
    for (; *at >= '0' && *at <= '9'; ++at) {
        const auto digit = static_cast<unsigned>(*at - '0');
        number = number > (INT_MAX - digit) / 10 ? INT_MAX : number * 10 + digit;
    }
    return at;
}

template <class T, class NextInt>
const T* ReadWidth(const T* at, FormatField& field, NextInt& nextInt)
{
    if (*at != '*')
        return ReadNumber(at, field.width);
    const int width = nextInt();
    field.left |= width < 0;
    field.width = width < 0 ? 0U - static_cast<unsigned>(width) : static_cast<unsigned>(width);
    return at + 1;
}

// A negative precision counts as none.
template <class T, class NextInt>
const T* ReadPrecision(const T* at, FormatField& field, NextInt& nextInt)
{
    if (*at != '.')
        return at;
    field.hasPrecision = true;
    if (at[1] != '*')
        return ReadNumber(at + 1, field.precision);
    const int precision = nextInt();
    field.hasPrecision = precision >= 0;
    field.precision = precision >= 0 ? static_cast<unsigned>(precision) : 0;
    return at + 2;
}

template <class T> bool IsIntegerConversion(T character)
{
    switch (character) {
    case 'd':
    case 'i':
    case 'o':
    case 'u':
    case 'x':
    case 'X':
        return true;
    default:
        return false;
    }
}

// The length of "I64", "I32", and "I" in front of an integer; 0 for anything else.
template <class T> int ReadSizeI(const T* at, FormatField::Size& size)
{
    if (at[1] == '6' && at[2] == '4') {
        size = FormatField::Size::bits64;
        return 3;
    }
    if (at[1] == '3' && at[2] == '2') {
        size = FormatField::Size::none;
        return 3;
    }
    size = FormatField::Size::pointer;
    return IsIntegerConversion(at[1]) ? 1 : 0;
}

// The length of one size; 0 when there is none.
template <class T> int ReadOneSize(const T* at, FormatField::Size& size)
{
    switch (*at) {
    case 'h':
        size = FormatField::Size::bits16;
        return 1;
    case 'l':
        size = at[1] == 'l' ? FormatField::Size::bits64 : FormatField::Size::bits32;
        return at[1] == 'l' ? 2 : 1;
    case 'w':
        size = FormatField::Size::wide;
        return 1;
    case 'L':
        // A long double is a double on the device.
        size = FormatField::Size::none;
        return 1;
    case 'I':
        return ReadSizeI(at, size);
    default:
        return 0;
    }
}

// Of several sizes the last counts, but 64 bits stay.
template <class T> const T* ReadSizes(const T* at, FormatField& field)
{
    FormatField::Size size;
    while (const int length = ReadOneSize(at, size)) {
        if (field.size != FormatField::Size::bits64)
            field.size = size;
        at += length;
    }
    return at;
}

template <class T> bool IsConversion(T character)
{
    switch (character) {
    case 'c':
    case 'C':
    case 's':
    case 'S':
    case 'p':
    case 'n':
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G':
        return true;
    default:
        return IsIntegerConversion(character);
    }
}

} // namespace format_field

// Reads what follows a "%". `nextInt` gives the value of a "*". Returns where to go on: behind
// the conversion, or at a character that means nothing here, which then is text like any other.
template <class T, class NextInt>
const T* ReadFormatField(const T* at, FormatField& field, NextInt nextInt)
{
    // Mostly the conversion is all there is.
    if (!format_field::IsConversion(*at)) {
        at = format_field::ReadFlags(at, field);
        at = format_field::ReadWidth(at, field, nextInt);
        at = format_field::ReadPrecision(at, field, nextInt);
        at = format_field::ReadSizes(at, field);
        if (!format_field::IsConversion(*at))
            return at;
    }
    field.conversion = static_cast<char>(*at);
    return at + 1;
}

#include "xelutils/platform/posix/decimal.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace {

// A double is mantissa * 2^exponent.
struct Binary {
    std::uint64_t mantissa;
    int exponent;
};

Binary Dissect(double magnitude)
{
    constexpr int kBias = 1075;
    constexpr std::uint64_t kHidden = std::uint64_t{1} << 52;
    const auto bits = std::bit_cast<std::uint64_t>(magnitude);
    const auto field = static_cast<int>(bits >> 52);
    const std::uint64_t fraction = bits & (kHidden - 1);
    return field == 0 ? Binary{fraction, 1 - kBias} : Binary{fraction | kHidden, field - kBias};
}

// How many binary places a number has behind the point. A number lies halfway between two with p
// decimals exactly when it has p + 1 of them.
int BinaryPlaces(double magnitude)
{
    const Binary number = Dissect(magnitude);
    return number.mantissa == 0 ? 0 : -(number.exponent + std::countr_zero(number.mantissa));
}

// Adds one to a number in decimal digits, among which a point may stand. False when all digits
// were nines; they are zeros then.
bool Increment(char* first, char* last)
{
    while (last != first) {
        --last;
        if (*last == '.')
            continue;
        if (*last != '9') {
            ++*last;
            return true;
        }
        *last = '0';
    }
    return false;
}

#if defined(__SIZEOF_INT128__)

using Wide = unsigned __int128;

constexpr int kQuickDecimals = 17;

constexpr std::uint64_t PowerOfTen(int exponent)
{
    std::uint64_t power = 1;
    for (; exponent > 0; --exponent)
        power *= 10;
    return power;
}

constexpr auto kPowersOfTen = [] {
    struct {
        std::uint64_t value[kQuickDecimals + 1];
    } powers{};
    for (int exponent = 0; exponent <= kQuickDecimals; ++exponent)
        powers.value[exponent] = PowerOfTen(exponent);
    return powers;
}();

// Whole part and decimals as two integers, for numbers and counts of decimals that fit them: many
// times faster than the general way. 0 when they do not.
std::size_t QuickFixedDigits(double magnitude, int decimals, char* text)
{
    // fraction * 10^decimals and the half added to it stay below 2^120.
    constexpr int kMaxPlaces = 116;
    const Binary number = Dissect(magnitude);
    const int places = -number.exponent;
    if (decimals > kQuickDecimals || places < 1 || places > kMaxPlaces)
        return 0;

    const Wide mantissa = number.mantissa;
    auto whole = static_cast<std::uint64_t>(mantissa >> places);
    const Wide fraction = mantissa - (Wide{whole} << places);
    const std::uint64_t scale = kPowersOfTen.value[decimals];
    const Wide half = Wide{1} << (places - 1);
    auto shifted = static_cast<std::uint64_t>((fraction * scale + half) >> places);
    if (shifted == scale) {
        shifted = 0;
        ++whole;
    }

    char* end = std::to_chars(text, text + 20, whole).ptr;
    if (decimals > 0) {
        // A leading one keeps the zeros behind the point; the point takes its place.
        char* const point = end;
        end = std::to_chars(point, point + 20, shifted + scale).ptr;
        *point = '.';
    }
    return static_cast<std::size_t>(end - text);
}

#else

// Two words of 64 bits have no product here.
std::size_t QuickFixedDigits(double, int, char*)
{
    return 0;
}

#endif

// Whether the digits behind the first `count` are a five and zeros.
bool IsSignificantTie(double magnitude, int count, const char* digitsAndOneMore)
{
    // With p binary places a number has at least 0.69 * p significant digits.
    if (digitsAndOneMore[count] != '5' || BinaryPlaces(magnitude) > (count + 2) * 3 / 2)
        return false;
    char all[kDecimalRoom];
    char* const end = std::to_chars(all, all + sizeof all, magnitude, std::chars_format::scientific,
                                    kMaxSignificant - 1)
                          .ptr;
    // "d.ddd...e+xx": the digit of index n > 0 stands at n + 1.
    char* const exponent = std::find(&all[0], end, 'e');
    return all[count + 1] == '5' &&
           std::all_of(&all[count + 2], exponent, [](char digit) { return digit == '0'; });
}

// "d.ddde+xx" becomes "dddd"; returns xx.
int SplitScientific(char* text, char* end)
{
    char* const mark = std::find(text, end, 'e');
    int exponent = 0;
    const char* const number = mark[1] == '+' ? mark + 2 : mark + 1;
    std::from_chars(number, end, exponent);
    if (mark - text > 1)
        std::memmove(text + 1, text + 2, static_cast<std::size_t>(mark - text - 2));
    return exponent;
}

int RoundedSignificant(double magnitude, int count, char* digits)
{
    char* const end = std::to_chars(digits, digits + kDecimalRoom, magnitude,
                                    std::chars_format::scientific, count - 1)
                          .ptr;
    return SplitScientific(digits, end);
}

} // namespace

std::size_t FixedDigits(double magnitude, int decimals, char (&text)[kDecimalRoom])
{
    if (const std::size_t length = QuickFixedDigits(magnitude, decimals, text); length != 0)
        return length;
    const bool isTie = BinaryPlaces(magnitude) == decimals + 1 && decimals < kMaxDecimals;
    char* end = std::to_chars(text, text + kDecimalRoom, magnitude, std::chars_format::fixed,
                              isTie ? decimals + 1 : decimals)
                    .ptr;
    if (isTie) {
        // The five is the last digit; with the last decimal goes the point.
        end -= decimals == 0 ? 2 : 1;
        if (!Increment(text, end)) {
            std::memmove(text + 1, text, static_cast<std::size_t>(end - text));
            text[0] = '1';
            ++end;
        }
    }
    return static_cast<std::size_t>(end - text);
}

int SignificantDigits(double magnitude, int count, char (&digits)[kDecimalRoom])
{
    if (count == kMaxSignificant)
        return RoundedSignificant(magnitude, count, digits);
    int exponent = RoundedSignificant(magnitude, count + 1, digits);
    if (!IsSignificantTie(magnitude, count, digits))
        return RoundedSignificant(magnitude, count, digits);
    if (!Increment(digits, digits + count)) {
        digits[0] = '1';
        ++exponent;
    }
    return exponent;
}

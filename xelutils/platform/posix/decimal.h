// Decimal digits of doubles: exact to the last place, ties rounded away from zero.
#pragma once

#include <cstddef>

// The most decimals and significant digits that a double has; behind them all digits are zeros.
constexpr int kMaxDecimals = 1074;
constexpr int kMaxSignificant = 767;
// Room for the longest text: all digits in front of the point, the point, kMaxDecimals.
constexpr std::size_t kDecimalRoom = 309 + 1 + kMaxDecimals;

// `magnitude` with `decimals` (0..kMaxDecimals) digits behind the point; no point when there are
// none. `magnitude` is finite and not negative. Returns the length; there is no terminator.
std::size_t FixedDigits(double magnitude, int decimals, char (&text)[kDecimalRoom]);

// The first `count` (1..kMaxSignificant) significant digits, without a point, and the power of
// ten of the first of them: 1250 in 3 digits is "125" and 3. Zero is all zeros and 0.
int SignificantDigits(double magnitude, int count, char (&digits)[kDecimalRoom]);

// The tables behind character classes and case, for the 65536 units of the BMP: the high byte of
// a unit selects a page, the low byte an entry of it.
#pragma once

#include <cstdint>

// Bits of an entry in kClassPages. The first four are those of the device's masks.
constexpr std::uint8_t kUpperBit = 0x01;
constexpr std::uint8_t kLowerBit = 0x02;
constexpr std::uint8_t kDigitBit = 0x04;
constexpr std::uint8_t kSpaceBit = 0x08;
constexpr std::uint8_t kLetterBit = 0x10;

extern const std::uint8_t kClassPageOf[256];
extern const std::uint8_t kClassPages[][256];

// What to add to a unit, modulo 65536, to get its lower or upper case.
extern const std::uint8_t kLowerPageOf[256];
extern const std::uint16_t kLowerPages[][256];
extern const std::uint8_t kUpperPageOf[256];
extern const std::uint16_t kUpperPages[][256];

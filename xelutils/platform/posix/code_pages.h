// The tables of the 8-bit code pages. They hold what the device family's pages hold: bytes that a
// page leaves open stand for control characters or for units of the private-use area, both ways.
#pragma once

#include "xelutils/platform/coredll.h"

struct CodePage {
    using ReversePage = std::uint16_t[256];

    // A byte b with (b & openMask) != 0x80 is the unit of the same value, and back.
    std::uint8_t openMask;
    // Of the double-byte pages: the unit for what is no character.
    wchar_t defaultUnit;
    // The unit of each byte that stands alone; kLeadByte for the first byte of a pair.
    wchar_t units[256];
    // pairs[first - 0x80][second], 128 rows; null in a single-byte page.
    const wchar_t (*pairs)[256];
    // The bytes of a unit u: reversePages[reversePageOf[u >> 8]][u & 0xFF], a pair with its first
    // byte in the high half; 0 for units that the page does not hold (and for unit 0).
    std::uint8_t reversePageOf[256];
    const ReversePage* reversePages;
};

// No page holds this unit, which is no character.
constexpr wchar_t kLeadByte = 0xFFFF;

// The page of that number, or the system's own for CP_ACP; null for pages that are not offered
// here or not known to the C library. Tables are made at the first call and stay.
const CodePage* FindCodePage(UINT number);

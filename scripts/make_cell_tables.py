#!/usr/bin/env python3
"""Writes xelutils/platform/posix/cell_tables.cpp: the characters that take no cell or two.

Usage: scripts/make_cell_tables.py > xelutils/platform/posix/cell_tables.cpp

The tables follow the Unicode version of the Python that runs this. Code points without a character
join the ranges around them, which keeps the tables short.
"""

import sys
import unicodedata

# Signs of class Cf that are seen.
VISIBLE_FORMAT = {0x00AD, *range(0x0600, 0x0606), 0x06DD, 0x070F, 0x0890, 0x0891, 0x08E2, 0x110BD, 0x110CD}
# Vowels and closing consonants of Hangul, which stand below the first consonant.
JOINING_JAMO = {*range(0x1160, 0x1200), *range(0xD7B0, 0xD7C7), *range(0xD7CB, 0xD7FC)}
# All of these are wide, also where Unicode has put no character yet.
IDEOGRAPHS = {
    *range(0x3400, 0x4DC0), *range(0x4E00, 0xA000), *range(0xF900, 0xFB00),
    *range(0x20000, 0x2FFFE), *range(0x30000, 0x3FFFE),
}


def cells_of(code):
    """None where there is no character."""
    if code in IDEOGRAPHS:
        return 2
    category = unicodedata.category(chr(code))
    if category == "Cn":
        return None
    if code in JOINING_JAMO or category in ("Mn", "Me"):
        return 0
    if category == "Cf" and code not in VISIBLE_FORMAT:
        return 0
    return 2 if unicodedata.east_asian_width(chr(code)) in "WF" else 1


def ranges_of(cells):
    ranges = []
    joins = False
    for code in range(0x110000):
        found = cells_of(code)
        if found == cells:
            if joins:
                ranges[-1][1] = code
            else:
                ranges.append([code, code])
            joins = True
        elif found is not None:
            joins = False
    return ranges


def print_table(name, cells):
    ranges = [f"{{0x{first:04X}, 0x{last:04X}}}" for first, last in ranges_of(cells)]
    print(f"\nconst CharacterRange {name}[] = {{")
    for start in range(0, len(ranges), 5):
        print("    " + ", ".join(ranges[start : start + 5]) + ",")
    print("};")
    print(f"const std::size_t {name}Count = sizeof {name} / sizeof *{name};")


def main():
    print("// Written by scripts/make_cell_tables.py from the data of Unicode "
          f"{unicodedata.unidata_version}.")
    print("// clang-format off")
    print('#include "xelutils/platform/posix/cell_tables.h"')
    print_table("kNoCell", 0)
    print_table("kTwoCells", 2)


if __name__ == "__main__":
    sys.exit(main())

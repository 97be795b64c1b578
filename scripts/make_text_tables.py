#!/usr/bin/env python3
"""Writes xelutils/platform/posix/text_tables.cpp: character classes and case pairs of the BMP.

Usage: scripts/make_text_tables.py > xelutils/platform/posix/text_tables.cpp

The tables follow the Unicode version of the Python that runs this. What the device does otherwise
stands in class_of and in KEEPS_CASE.
"""

import sys
import unicodedata

UPPER, LOWER, DIGIT, SPACE, LETTER = 1, 2, 4, 8, 16
PAGE = 256
BMP = 0x10000

# Their partners are ASCII letters or, for the micro sign, a Greek letter that no Western code page
# holds: text would become something else on its way through upper case.
KEEPS_CASE = {0x00B5, 0x0130, 0x0131, 0x017F, 0x212A}


def class_of(unit):
    category = unicodedata.category(chr(unit))
    if category == "Lu":
        return LETTER | UPPER
    if category == "Ll":
        return LETTER | LOWER
    if category[0] == "L" or category == "Nl":
        return LETTER
    if category == "Nd" or unit in (0xB2, 0xB3, 0xB9):
        return DIGIT
    if category[0] == "Z" or 9 <= unit <= 13 or unit == 0x85:
        return SPACE
    return 0


def case_delta(unit, *forms):
    """What to add to `unit`, modulo 65536; the first form that is one unit counts."""
    if unit not in KEEPS_CASE and not 0xD800 <= unit <= 0xDFFF:
        for form in forms:
            if len(form) == 1 and ord(form) < BMP:
                return (ord(form) - unit) % BMP
    return 0


def upper_delta(unit):
    # Python knows the full mapping only. Where that has several characters (Greek with iota below),
    # the simple capital is the title form, or there is none and the title form is long as well.
    return case_delta(unit, chr(unit).upper(), chr(unit).title())


def lower_delta(unit):
    return case_delta(unit, chr(unit).lower())


def print_rows(values, digits, per_line):
    for start in range(0, len(values), per_line):
        row = ", ".join(f"0x{value:0{digits}X}" for value in values[start : start + per_line])
        print(f"    {row},")


def print_table(name, element, digits, value_of):
    pages, index = [], []
    for start in range(0, BMP, PAGE):
        page = [value_of(unit) for unit in range(start, start + PAGE)]
        if page not in pages:
            pages.append(page)
        index.append(pages.index(page))
    print(f"\nconst std::uint8_t k{name}PageOf[256] = {{")
    print_rows(index, 2, 16)
    print("};")
    print(f"\nconst {element} k{name}Pages[][256] = {{")
    for page in pages:
        print("    {")
        print_rows(page, digits, 16 if digits == 2 else 12)
        print("    },")
    print("};")


def main():
    print("// Written by scripts/make_text_tables.py from the data of Unicode "
          f"{unicodedata.unidata_version}.")
    print("// clang-format off")
    print('#include "xelutils/platform/posix/text_tables.h"')
    print_table("Class", "std::uint8_t", 2, class_of)
    print_table("Lower", "std::uint16_t", 4, lower_delta)
    print_table("Upper", "std::uint16_t", 4, upper_delta)


if __name__ == "__main__":
    sys.exit(main())

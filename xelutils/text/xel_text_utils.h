// Tells how the bytes at the start of a text file are to be read. Nothing here allocates or looks
// beyond the `size` bytes it is given.
#pragma once

#include <cstdint>

#include "xelutils/export.h"

namespace xel_text_traits::xel_text_utils {

enum EXelTextByteOrderMaskEncoding : int {
    BOM_NONE = 0,
    BOM_UTF8 = 1,
    BOM_UTF16_BE = 2,
    BOM_UTF16_LE = 3,
    BOM_UTF32_BE = 4,
    BOM_UTF32_LE = 5,
    BOM_SCSU = 6,
    BOM_UTF7 = 7,
    BOM_UTF_EBCDIC = 8,
    BOM_BOCU1 = 9,
};

enum EXelTextEncoding : int {
    // Not supported: no text at all, or the mark of another encoding.
    TEXT_ENCODING_UNKNOWN = 0,
    // One byte a character, in the system's code page.
    TEXT_ENCODING_8BIT = 1,
    // UTF-16, little-endian, with or without its mark.
    TEXT_ENCODING_UTF16LE = 2,
};

// Recognises the byte-order mark at the start of `buffer`.
//
//   FF FE 41 00  =>  BOM_UTF16_LE, length 2
//   FF FE 00 00  =>  BOM_UTF32_LE, length 4: the longer mark is tried first
//   2B 2F 76 38  =>  BOM_UTF7, length 3 although four bytes were looked at: callers skip three
//   a b c        =>  BOM_NONE
//
// markLength  receives the mark's length in bytes; may be null; untouched when there is no mark
XELUTILS_API EXelTextByteOrderMaskEncoding detect_bom_header(const unsigned char* buffer,
                                                             std::uint32_t size,
                                                             std::uint32_t* markLength = nullptr);

// Decides which of the supported encodings the text is in. A mark decides alone; without one, text
// of nine bytes or more is UTF-16 when its first four characters are below 256 and not all zero.
// Fewer than 2 bytes, or a mark other than that of UTF-16LE, give TEXT_ENCODING_UNKNOWN.
// `markLength` is filled as by detect_bom_header, so set it to 0 beforehand.
XELUTILS_API EXelTextEncoding detect_text_encoding(const void* buffer, std::uint32_t size,
                                                   std::uint32_t* markLength = nullptr);

} // namespace xel_text_traits::xel_text_utils

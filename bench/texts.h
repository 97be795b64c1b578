// The texts that the string benchmarks work on: made up, the same in every run and for everybody.
#pragma once

#include <cstddef>
#include <string>

namespace bench {

// `length` bytes of windows-1252 prose; about one in twelve lies above 127, with some of 80..9F.
std::string LatinBytes(std::size_t length);

// The same prose without any byte above 127.
std::string AsciiBytes(std::size_t length);

// The characters of a windows-1252 text whose bytes are all assigned.
std::u16string FromWindows1252(const std::string& bytes);

std::u16string LatinText(std::size_t length);

constexpr char16_t kNeedle[] = u"Messgeber7";
constexpr char16_t kLetter = u'Q';

// `length` characters, of which the last are the needle or the letter, which occur nowhere else.
// The needle's first letters do.
std::u16string NeedleAtEnd(std::size_t length);
std::u16string LetterAtEnd(std::size_t length);

constexpr int kPlaces = 32;
constexpr char16_t kOld[] = u"%unit%";
constexpr char16_t kNew[] = u"millibar";

// 1024 characters with the old text in 32 places, and what they must become.
std::u16string TextWithPlaces();
std::u16string TextWithPlacesReplaced();

// 100 characters that differ from each other in case only, as titles and keys do.
std::u16string MixedCase();
std::u16string UpperCase();

} // namespace bench

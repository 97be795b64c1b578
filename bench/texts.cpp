#include "texts.h"

#include <cstdint>
#include <iterator>

namespace bench {

namespace {

// Words with and without letters above 127 by turns; the list is drawn from at random.
const char* const kLatinWords[] = {
    "Me\337ger\344t", "panel",   "Gr\366\337e",   "column",  "d\351faut",  "Meter",
    "na\357ve",       "storage", "\204quote\223", "mode",    "20\200",     "Message",
    "\334bersicht",   "record",  "caf\351",       "display", "from\226to", "Men\374",
};
const char* const kAsciiWords[] = {
    "Mess", "panel",  "size",    "column", "default", "Meter", "naive",   "storage", "quote",
    "mode", "twenty", "Message", "view",   "record",  "cafe",  "display", "from",    "Menu",
};
constexpr std::size_t kCaseLength = 100;
constexpr std::size_t kPlacesLength = 1024;

// A plain generator, so that the texts are the same with every standard library.
class Random {
public:
    std::size_t below(std::size_t limit)
    {
        m_state = m_state * 6364136223846793005U + 1442695040888963407U;
        return (m_state >> 33) % limit;
    }

private:
    std::uint64_t m_state = 1;
};

template <std::size_t Count>
std::string Prose(const char* const (&words)[Count], std::size_t length)
{
    Random random;
    std::string text;
    while (text.size() < length) {
        text += words[random.below(Count)];
        text += ' ';
    }
    text.resize(length);
    return text;
}

std::u16string Widened(const std::string& ascii)
{
    return {ascii.begin(), ascii.end()};
}

std::u16string Places(const char16_t* inPlace)
{
    constexpr std::size_t stretch = kPlacesLength / kPlaces - (std::size(kOld) - 1);
    const std::u16string prose = Widened(AsciiBytes(kPlaces * stretch));
    std::u16string text;
    for (std::size_t i = 0; i < kPlaces; ++i)
        text += prose.substr(i * stretch, stretch) + inPlace;
    return text;
}

char16_t Upper(char16_t ch)
{
    const bool lower = (ch >= u'a' && ch <= u'z') || (ch >= u'\u00E0' && ch <= u'\u00FE');
    return lower ? static_cast<char16_t>(ch - 0x20) : ch;
}

} // namespace

std::string LatinBytes(std::size_t length)
{
    return Prose(kLatinWords, length);
}

std::string AsciiBytes(std::size_t length)
{
    return Prose(kAsciiWords, length);
}

std::u16string FromWindows1252(const std::string& bytes)
{
    static constexpr char16_t kHigh[] = {
        0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
        0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
        0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
    std::u16string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += byte >= 0x80 && byte < 0xA0 ? kHigh[byte - 0x80] : static_cast<char16_t>(byte);
    }
    return text;
}

std::u16string LatinText(std::size_t length)
{
    return FromWindows1252(LatinBytes(length));
}

std::u16string NeedleAtEnd(std::size_t length)
{
    return LatinText(length - (std::size(kNeedle) - 1)) + kNeedle;
}

std::u16string LetterAtEnd(std::size_t length)
{
    return LatinText(length - 1) + kLetter;
}

std::u16string TextWithPlaces()
{
    return Places(kOld);
}

std::u16string TextWithPlacesReplaced()
{
    return Places(kNew);
}

std::u16string MixedCase()
{
    // Without the letter that has no upper case of one character.
    std::u16string text = Widened(AsciiBytes(kCaseLength));
    for (std::size_t i = 10; i < kCaseLength; i += 20)
        text[i] = u'\u00E9';
    return text;
}

std::u16string UpperCase()
{
    std::u16string text = MixedCase();
    for (char16_t& ch : text)
        ch = Upper(ch);
    return text;
}

} // namespace bench

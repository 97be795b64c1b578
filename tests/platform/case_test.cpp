#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <sys/mman.h>

#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/wide_length.h"

namespace {

int Sign(int value)
{
    return (value > 0) - (value < 0);
}

// Two pages, the second of which cannot be touched. The text ends with the first.
class TextAtPageEnd {
public:
    static constexpr std::size_t kPage = 0x10000;

    explicit TextAtPageEnd(const std::u16string& text)
    {
        m_pages = static_cast<char*>(
            mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(m_pages + kPage, kPage, PROT_NONE);
        m_text = reinterpret_cast<wchar_t*>(m_pages + kPage) - text.size() - 1;
        text.copy(reinterpret_cast<char16_t*>(m_text), text.size());
        m_text[text.size()] = 0;
    }
    ~TextAtPageEnd() { munmap(m_pages, 2 * kPage); }
    TextAtPageEnd(const TextAtPageEnd&) = delete;
    TextAtPageEnd& operator=(const TextAtPageEnd&) = delete;

    wchar_t* Text() const { return m_text; }

private:
    char* m_pages;
    wchar_t* m_text;
};

} // namespace

TEST(CharacterClasses, FollowUnicode)
{
    const struct {
        const char* rule;
        int c;
        int classes;
    } rows[] = {
        {"capital", 'A', 0x101},
        {"small letter", 'z', 0x102},
        {"e with acute", 0xE9, 0x102},
        {"sharp s", 0xDF, 0x102},
        {"ideograph", 0x4E2D, 0x100},
        {"title case", 0x1C5, 0x100},
        {"Roman numeral", 0x2167, 0x100},
        {"ordinal sign", 0xAA, 0x100},
        {"digit", '7', 4},
        {"superscript two", 0xB2, 4},
        {"Arabic digit", 0x663, 4},
        {"fraction", 0xBD, 0},
        {"tab", 9, 8},
        {"no-break space", 0xA0, 8},
        {"next line", 0x85, 8},
        {"ideographic space", 0x3000, 8},
        {"line separator", 0x2028, 8},
        {"neighbour below tab", 8, 0},
        {"neighbour above CR", 14, 0},
        {"halfwidth filler, a byte A0", 0xFFA0, 0x100},
        {"underscore", '_', 0},
        {"euro sign", 0x20AC, 0},
        {"multiplication sign", 0xD7, 0},
        {"section sign", 0xA7, 0},
        {"high surrogate", 0xD800, 0},
        {"low surrogate", 0xDFFF, 0},
        {"zero", 0, 0},
        {"last unit", 0xFFFF, 0},
        {"above all units", 0x10041, 0},
        {"negative", -1, 0},
    };
    constexpr int kAllClasses = _ALPHA | _DIGIT | _SPACE;
    for (const auto& row : rows) {
        EXPECT_EQ(_isctype(row.c, kAllClasses), row.classes) << row.rule;
        EXPECT_EQ(_isctype(row.c, _SPACE) != 0, (row.classes & _SPACE) != 0) << row.rule;
    }
    EXPECT_NE(iswctype(L'\u00A0', static_cast<unsigned short>(_SPACE)), 0);
    EXPECT_EQ(iswctype(L'x', static_cast<unsigned short>(_SPACE)), 0);
}

TEST(Case, PairsOfUnicode)
{
    const struct {
        const char* rule;
        const char16_t* text;
        const char16_t* upper;
        const char16_t* lower;
    } rows[] = {
        {"ASCII and its neighbours", u"@AZ[`az{", u"@AZ[`AZ{", u"@az[`az{"},
        {"Latin", u"\u00E9\u00C9\u00F7\u00D7\u00FF", u"\u00C9\u00C9\u00F7\u00D7\u0178",
         u"\u00E9\u00E9\u00F7\u00D7\u00FF"},
        {"no single partner", u"\u00DF\u0149", u"\u00DF\u0149", u"\u00DF\u0149"},
        {"Greek with both sigmas", u"\u03C3\u03C2\u03A3", u"\u03A3\u03A3\u03A3",
         u"\u03C3\u03C2\u03C3"},
        {"Greek with iota below", u"\u1FB3\u1F80", u"\u1FBC\u1F88", u"\u1FB3\u1F80"},
        {"title case", u"\u01C5", u"\u01C4", u"\u01C6"},
        {"fullwidth", u"\uFF21\uFF5A", u"\uFF21\uFF3A", u"\uFF41\uFF5A"},
        {"nothing becomes ASCII, the micro sign no Greek", u"\u0130\u0131\u017F\u212A\u00B5",
         u"\u0130\u0131\u017F\u212A\u00B5", u"\u0130\u0131\u017F\u212A\u00B5"},
        {"pairs of surrogates stay", u"\xD801\xDC00", u"\xD801\xDC00", u"\xD801\xDC00"},
    };
    for (const auto& row : rows) {
        std::u16string text(row.text);
        auto* const units = reinterpret_cast<wchar_t*>(text.data());
        EXPECT_EQ(_wcsupr(units), units);
        EXPECT_EQ(text, row.upper) << row.rule;
        text = row.text;
        _wcslwr(reinterpret_cast<wchar_t*>(text.data()));
        EXPECT_EQ(text, row.lower) << row.rule;
    }
    char narrow[] = "@AZ[`az{\xE9\xC9";
    EXPECT_STREQ(_strupr(narrow), "@AZ[`AZ{\xE9\xC9");
    EXPECT_STREQ(_strlwr(narrow), "@az[`az{\xE9\xC9");
    EXPECT_STREQ(_strrev(narrow), "\xC9\xE9{za`[za@");
    std::u16string wide = u"abc";
    _wcsrev(reinterpret_cast<wchar_t*>(wide.data()));
    EXPECT_EQ(wide, u"cba");
}

TEST(Case, ComparesByLowerCaseAsUnsignedNumbers)
{
    const struct {
        const wchar_t* first;
        const wchar_t* second;
        int sign;
    } rows[] = {
        {L"", L"", 0},
        {L"", L"a", -1},
        {L"Panel", L"PANEL", 0},
        {L"Z", L"_", 1}, // by capitals it would be the other way round
        {L"z\u00C9", L"Z\u00E9", 0},
        {L"0123456\u00D7", L"0123456\u00F7", -1},
        {L"0123456\u00DF", L"0123456\u00FF", -1},
        {L"\u00C0\u00DEz\u00CF123", L"\u00E0\u00FEZ\u00EF123", 0},
        {L"a\uFFFD", L"a\u0001", 1},
        {L"0123456789abcdef", L"0123456789ABCDEFG", -1},
        {L"0123456789abcdeF\u0416", L"0123456789abcdef\u0436", 0},
        {L"01234567@bcdefgh", L"01234567`bcdefgh", -1}, // differ by the bit of the case
        {L"012345\u0141\u00E9", L"012345\u0142\u00C9", 0},
        {L"0123456\u0120", L"0123456\u0100", 1},
    };
    for (const auto& row : rows) {
        const auto number = &row - rows;
        EXPECT_EQ(Sign(_wcsicmp(row.first, row.second)), row.sign) << number;
        EXPECT_EQ(Sign(_wcsicmp(row.second, row.first)), -row.sign) << number;
    }
    EXPECT_EQ(_stricmp("Panel", "pANEL"), 0);
    EXPECT_LT(_stricmp("a\x7F", "A\x80"), 0);
    EXPECT_GT(_stricmp("ab", "A"), 0);
    EXPECT_NE(_stricmp("\xE9", "\xC9"), 0);
}

TEST(Case, NothingIsReadBehindTheTerminatorsPage)
{
    for (std::size_t length = 0; length < 40; ++length) {
        const std::u16string text(length, u'\u00E9');
        const TextAtPageEnd first(text);
        const TextAtPageEnd second(std::u16string(length, u'\u00C9'));
        EXPECT_EQ(WideLength(first.Text()), length);
        EXPECT_EQ(_wcsicmp(first.Text(), second.Text()), 0);
        // The two at different distances from their pages' ends.
        const TextAtPageEnd longer(text + u"x");
        EXPECT_LT(_wcsicmp(first.Text(), longer.Text()), 0);
        EXPECT_EQ(_wcsicmp(longer.Text() + 1, length > 0 ? longer.Text() + 1 : L""), 0);
        std::string bytes(length + 1, '-');
        EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, first.Text(), -1, bytes.data(),
                                      static_cast<int>(bytes.size()), nullptr, nullptr),
                  static_cast<int>(length) + 1);
        EXPECT_EQ(bytes, std::string(length, '\xE9') + '\0');
    }
}
